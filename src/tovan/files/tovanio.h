// Problems from and to files: the format that a name tells, the read summary.
#pragma once

#include "tovan/task/task.h"

#include <span>

namespace tvn {

// Scans the name from its end for the last point whose text up to the next point or the end is a table entry; the
// number of entries when there is none. So x.mps.gz is "mps" for a table of formats.
int32_t TVN_lastfileext(bool matchcase, std::span<const char* const> table, std::string_view name) noexcept;

struct file_format {
  int32_t format;  // TVN_DATA_FORMAT_*
  bool compressed; // the name ends in "gz", or the format is always a gzip stream
};
// format in: TVN_DATA_FORMAT_EXTENSION for the one that the name tells, MPS when it tells none.
file_format read_format(int32_t format, std::string_view name) noexcept;

// The lines of the read summary, when TVN_IPAR_LOG is at least 1.
void read_summary(task& t, int32_t whichstream);

} // namespace tvn
