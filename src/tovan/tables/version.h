// Version and platform of the library, in one place.
#pragma once

#include <cstdint>

namespace tvn {

inline constexpr int32_t version_major = 6, version_minor = 0, version_build = 0, version_revision = 135;
inline constexpr char product_name[] = "TOVAN";
inline constexpr char version_text[] = "6.0.0.135";
inline constexpr char label_text[] = "TOVAN version 6.0.0.135"; // product and version, for streams and debug files
inline constexpr char platform_text[] = "Linux/64-X86";
inline constexpr char build_date[] = "2026-11-21";

} // namespace tvn
