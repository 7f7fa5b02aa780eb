// Parameter values and information items of a task for the library's own use. An index that does not exist stops.
#pragma once

#include "tovan/task/task.h"

namespace tvn {

int32_t TVNP_getintparam(const task& t, int32_t param) noexcept;
double TVNP_getdouparam(const task& t, int32_t param) noexcept;
std::string_view TVNP_getstrparam(const task& t, int32_t param) noexcept;

// True when the value passes the rule of the parameter.
bool TVNP_validateintparam(const task& t, int32_t param, int32_t value) noexcept;
bool TVNP_validatedouparam(const task& t, int32_t param, double value) noexcept;

// All values; the tasks may belong to different environments.
void TVN_copyparam(const task& from, task& to);

// The value as text: a number, a symbolic constant of an integer parameter, or a string. Reports what is wrong.
TVNrescodee put_param_text(task& t, int32_t partype, int32_t param, const char* name, const char* value);

// The writers of items for layers that take the index from elsewhere: a bad one is reported.
TVNrescodee TVN_putintinf(task& t, int32_t item, int32_t value) noexcept;
TVNrescodee TVN_putlintinf(task& t, int32_t item, int64_t value) noexcept;

double TVNP_getdouinf(const task& t, int32_t item) noexcept;
int32_t TVNP_getintinf(const task& t, int32_t item) noexcept;
int64_t TVNP_getlintinf(const task& t, int32_t item) noexcept;
void TVNP_putdouinf(task& t, int32_t item, double value) noexcept;
void TVNP_putintinf(task& t, int32_t item, int32_t value) noexcept;
void TVNP_putlintinf(task& t, int32_t item, int64_t value) noexcept;
double TVNP_getprivatedouinf(const task& t, int32_t item) noexcept;
int32_t TVNP_getprivateintinf(const task& t, int32_t item) noexcept;
int64_t TVNP_getprivatelintinf(const task& t, int32_t item) noexcept;
void TVNP_putprivatedouinf(task& t, int32_t item, double value) noexcept;
void TVNP_putprivateintinf(task& t, int32_t item, int32_t value) noexcept;
void TVNP_putprivatelintinf(task& t, int32_t item, int64_t value) noexcept;

} // namespace tvn
