// Information items of a task: what a run reports. Public ones are read by users, private ones by the library's own
// log.
//
// Plain arrays, numbered by the order of def/*inf.def. The private items have no constants in the public header.
#pragma once

#include "cpub/buffer.h"

#include <array>
#include <cstdint>

namespace tvn {

inline constexpr int32_t num_dinf = 62, num_iinf = 98, num_liinf = 14;
inline constexpr int32_t num_private_dinf = 51, num_private_iinf = 108, num_private_liinf = 3;

enum private_dinf : int32_t {
#define TVN_PRIVATE_DINF_ITEM(name) TVNP_DINF_##name,
#include "tovan/def/private_dinf.def"
#undef TVN_PRIVATE_DINF_ITEM
};

enum private_iinf : int32_t {
#define TVN_PRIVATE_IINF_ITEM(name) TVNP_IINF_##name,
#include "tovan/def/private_iinf.def"
#undef TVN_PRIVATE_IINF_ITEM
};

enum private_liinf : int32_t {
#define TVN_PRIVATE_LIINF_ITEM(name) TVNP_LIINF_##name,
#include "tovan/def/private_liinf.def"
#undef TVN_PRIVATE_LIINF_ITEM
};

struct info_items {
  numbered<double, num_dinf> dou{};                    // by TVN_DINF_*
  numbered<int32_t, num_iinf> intg{};                  // by TVN_IINF_*
  numbered<int64_t, num_liinf> lint{};                 // by TVN_LIINF_*
  numbered<double, num_private_dinf> private_dou{};    // by TVNP_DINF_*
  numbered<int32_t, num_private_iinf> private_intg{};  // by TVNP_IINF_*
  numbered<int64_t, num_private_liinf> private_lint{}; // by TVNP_LIINF_*
};

} // namespace tvn
