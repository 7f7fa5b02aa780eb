// Words for values of constants, as logs, summaries and solution files show them; null for a value that has none.
#pragma once

#include <cstdint>

namespace tvn {

const char* status_key_word(int32_t sk) noexcept;          // "BS", the key of solution files
const char* cone_type_word(int32_t ct) noexcept;           // "QUAD", the key of MPS files
const char* problem_status_word(int32_t prosta) noexcept;  // "PRIMAL_FEASIBLE"
const char* solution_status_word(int32_t solsta) noexcept; // "OPTIMAL"
const char* problem_type_word(int32_t probtype) noexcept;  // "LO (linear optimization problem)"
const char* optimizer_word(int32_t optimizer) noexcept;    // "dual simplex"

} // namespace tvn
