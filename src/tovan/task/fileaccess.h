// Files on behalf of a task: opening with the task's reports, lines, and whether the log tells of them.
#pragma once

#include "cpub/sysfile.h"
#include "tovan/task/task.h"

namespace tvn {

// Opens and reports what is wrong: TVN_RES_ERR_INVALID_FILE_NAME for a null name, TVN_RES_ERR_FILE_OPEN, or the code of
// the system layer. *out is null after a failure.
TVNrescodee TVN_fopentask(task& t, const char* name, file_mode mode, bool compressed, sysfile** out);

// Reports a failure of the file layer with the file's name; TVN_RES_OK for none.
TVNrescodee report_file(task& t, const char* label, int line, sys_code code, const char* name) noexcept;

// One line of any length without its line end; false at the end of the file.
bool TVN_readline(sysfile& file, vec<char>& line, sys_code& result);

// Both TVN_IPAR_LOG and TVN_IPAR_LOG_FILE are on.
bool logs_files(const task& t) noexcept;

} // namespace tvn
