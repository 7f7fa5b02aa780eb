// Codes and statuses of the optimizers as the public ones, and words for them.
#pragma once

#include "tovan/task.h"

namespace tvn {

// Optimizer code 0 to 33 as a response code.
TVNrescodee TVN_oresptomrespdbg(int32_t code) noexcept;
// Optimizer numbering to public numbering and back; the two are not inverses of each other.
int32_t TVN_convertprosta(int32_t optimizer_prosta) noexcept;
int32_t TVN_convertsolsta(int32_t optimizer_solsta) noexcept;

// The sense in force: the task's, or that of the parameter when the task has none.
int32_t TVN_getoptobjsense(const task& t) noexcept;

} // namespace tvn
