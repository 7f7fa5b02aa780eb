// Codes and statuses of the optimizers as the public ones, and words for them.
#pragma once

#include "tovan/task/task.h"

namespace tvn {

// Optimizer code 0 to 33 as a response code.
TVNrescodee TVN_oresptomrespdbg(int32_t code) noexcept;
// Optimizer numbering to public numbering, and the way there with m; the two are not inverses of each other. A public
// solution status of 7 does not exist: it stops the task.
int32_t TVN_convertprosta(int32_t optimizer_prosta) noexcept;
int32_t TVN_convertsolsta(int32_t optimizer_solsta) noexcept;
int32_t TVN_convertmprosta(int32_t prosta) noexcept;
int32_t TVN_convertmsolsta(task& t, int32_t solsta);

// The sense in force: the task's, or that of the parameter when the task has none.
int32_t TVN_getoptobjsense(const task& t) noexcept;

} // namespace tvn
