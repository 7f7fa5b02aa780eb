// Texts of the library to the streams of a task or an environment, and files opened on behalf of a task.
#pragma once

#include "tovan/task/log.h"

namespace tvn {

// As printf, to a stream and, unless it is the log, to the log as well. Nothing is reported and nothing allocated. The
// form for a task stands in log.h.
void echo(env& e, int32_t whichstream, const char* fmt, ...) noexcept __attribute__((format(printf, 3, 4)));

// The text with the format language of misc/outfmt.h; its result.
int64_t TVN_outfmttask(task& t, int32_t whichstream, const char* fmt, ...) noexcept;
int64_t TVN_outfmtvatask(task& t, int32_t whichstream, const char* fmt, va_list args) noexcept;

// The response code of a stream operation, not yet reported.
TVNrescodee stream_rescode(stream_code code) noexcept;

} // namespace tvn
