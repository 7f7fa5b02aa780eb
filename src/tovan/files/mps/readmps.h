// Lines and fields of MPS text, before any meaning is given to them.
//
// The reader takes big blocks from the file and hands out lines in place; nothing is allocated per line and a line is
// touched once. A line ends at LF, CR or CR LF, the last one also at the end of the file. Fields stand at fixed columns
// (strict and relaxed mode) or are separated by blanks and tabs (free mode):
//
//   field      1 key   2 name   3 name   4 number   5 name   6 number
//   column     1       4        14       24         39       49          counted from 0
//   width      2       8        8        12         8        12
//
// A name at fixed columns may hold blanks. In relaxed mode a number runs on past its width to the first blank.
#pragma once

#include "cpub/sysfile.h"

#include <array>

namespace tvn {

enum class mps_section : int32_t {
  name,
  objsense,
  objname,
  rows,
  columns,
  rhs,
  ranges,
  bounds,
  sets,
  quadobj,
  qsection,
  csection,
  endata,
  none
};
inline constexpr int32_t num_mps_sections = 13;
const char* mps_section_word(mps_section section) noexcept;

enum class mps_mode : int32_t { strict = 0, relaxed = 1, free = 2 }; // TVN_MPS_FORMAT_*

enum class mps_status : int32_t {
  line,         // a data line
  head,         // a section head; it is delivered again
  bad_field,    // rm.badfield tells which
  tab_in_field, // likewise, 2, 3 or 5
  too_long,     // longer than the width that the reader was made with
  end_of_file,
};

// One data line. The views point into the line; a field that is absent is empty, a number that is absent is 0.
struct mps_fields {
  std::string_view key, name2, name3, name5;
  double value4 = 0, value6 = 0;
};

struct rm_state {
  sysenv* sys = nullptr;
  sysfile* file = nullptr;
  mps_mode mode = mps_mode::relaxed;
  bool quoted = false;                    // free mode: names may stand in double quotes
  bool ours = false;                      // the library's own writer made the file
  int64_t width = 1024;                   // of the longest data line
  int64_t maxline = int64_t{1} << 30;     // a line that fills such a block ends the reading: no file of text has it
  bool (*goeson)(void* handle) = nullptr; // called once a megabyte; the file ends where it answers false
  void* handle = nullptr;
  sys_code filestate = sys_code::ok;
  buffer<char> block; // [begin, end) is not yet delivered
  int64_t begin = 0, end = 0;
  int64_t newline = -1;     // position of the next LF, `end` for none in the block, -1 not yet searched
  int64_t numreads = 0;     // of the file since the last rewind
  bool atend = false;       // the file has no more
  bool endless = false;     // a line is longer than maxline; filestate is a read error then
  bool hascr = false;       // what was read so far holds a CR
  bool hasodd = false;      // likewise a tab or a NUL
  bool hasdollar = false;   // likewise a dollar sign
  bool dollarnames = false; // some name begins with a dollar sign, so that none opens a comment: set by the caller
  std::string_view line;    // the present line without its end
  int64_t linenumber = 0;   // of the present line, from 1
  bool pushedback = false;  // the present line is delivered again
  int32_t badfield = 0;     // 1 to 6
};

void TVN_rm_make(rm_state& rm, sysenv& sys, sysfile& file, mps_mode mode, bool quoted, int64_t width);
// From the first line again.
void TVN_rm_rewind(rm_state& rm);

// The next line as it stands; false at the end of the file and after a failure, which rm.filestate tells.
bool TVN_rm_getline(rm_state& rm);
// The next data line of a section; comments and blank lines are skipped. But in strict mode a dollar sign that opens
// field 3 or 5 makes a comment of the rest of the line.
mps_status TVN_rm_read(rm_state& rm, mps_section section, mps_fields& fields);
// The next section head, which becomes the present line; false at the end of the file. `none` for an unknown word.
bool TVN_rm_checksechead(rm_state& rm, mps_section& section);
// The fields behind the keyword of the present line, a section head.
mps_status TVN_rm_readhead(rm_state& rm, mps_section section, mps_fields& fields);
// The text behind the first blank of the present line, without blanks around it.
std::string_view TVN_rm_readtitle(const rm_state& rm) noexcept;

// A number as it stands in a field: blanks inside do not count, D is an exponent sign, nothing is 0.
bool parse_mps_number(std::string_view text, double& value) noexcept;

} // namespace tvn
