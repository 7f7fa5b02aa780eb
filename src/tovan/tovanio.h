// Files on behalf of a task: opening with the task's reports, the format that a name tells, the read entry.
#pragma once

#include "cpub/sysfile.h"
#include "tovan/task.h"

namespace tvn {

// Opens and reports what is wrong: TVN_RES_ERR_INVALID_FILE_NAME for a null name, TVN_RES_ERR_FILE_OPEN, or the code of
// the system layer. *out is null after a failure.
TVNrescodee TVN_fopentask(task& t, const char* name, file_mode mode, bool compressed, sysfile** out);

// Reports a failure of the file layer with the file's name; TVN_RES_OK for none.
TVNrescodee report_file(task& t, const char* label, int line, sys_code code, const char* name) noexcept;

// Scans the name from its end for the last point whose text up to the next point or the end is a table entry; the
// number of entries when there is none. So x.mps.gz is "mps" for a table of formats.
int32_t TVN_lastfileext(bool matchcase, std::span<const char* const> table, std::string_view name) noexcept;

struct file_format {
  int32_t format;  // TVN_DATA_FORMAT_*
  bool compressed; // the name ends in "gz", or the format is always a gzip stream
};
// format in: TVN_DATA_FORMAT_EXTENSION for the one that the name tells, MPS when it tells none.
file_format read_format(int32_t format, std::string_view name) noexcept;

// One line of any length without its line end; false at the end of the file.
bool TVN_readline(sysfile& file, vec<char>& line, sys_code& result);

// Both TVN_IPAR_LOG and TVN_IPAR_LOG_FILE are on.
bool logs_files(const task& t) noexcept;

// The lines of the read summary, when TVN_IPAR_LOG is at least 1.
void read_summary(task& t, int32_t whichstream);

} // namespace tvn
