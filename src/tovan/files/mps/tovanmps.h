// The MPS reader: sections of a file become put calls on a task.
//
// Two passes. The first counts, so that the task is sized once; the second fills the task through the same functions
// that callers use. Rows and columns are numbered in the order of the file; the objective row is a free row until the
// end, where all rows of type N leave together. The first fault stops the reader and what was entered stays.
#pragma once

#include "tovan/data/data.h"
#include "tovan/files/mps/readmps.h"
#include "tovan/files/text/filenames.h"
#include "tovan/files/text/textwrite.h"
#include "tovan/task/task.h"

namespace tvn {

// What the first pass found; none is less than the second pass needs.
struct mps_counts {
  int64_t numcon = 0, numvar = 0, numcone = 0, numanz = 0, numqnz = 0;
};

struct mps_reader {
  task& t;
  rm_state& rm;
  mps_counts counts;
  TVNrescodee stop = TVN_RES_OK; // what a callback wants
  double starttime = 0;          // seconds since the epoch
  name_table rows, cols, cones;
  vec<char> isfree; // [rows] 1: of type N
  int32_t objrow = -1;
  double fixedterm = 0;
  bool keepint = true, keepfree = false;
  vec<char> hasq;         // [rows] 1: has quadratic terms; sized with the first quadratic section
  vec<int32_t> members;   // of the cone that is being read
  buffer<int32_t> incone; // [cols] the number of cones met when the variable was listed last, 0: never
  vec<qterm> terms;       // of the quadratic section that is being read

  mps_reader(task& task_, rm_state& rm_);
};

// Reads the open file, whose name stands in messages. mode: TVN_MPS_FORMAT_*.
TVNrescodee TVN_readmps(task& t, int32_t mode, sysfile& file, const char* name);

// ---- shared by the files of the reader ----

// The present line with its number goes to the error stream when code is a fault; gives code back.
TVNrescodee mps_fail(mps_reader& r, TVNrescodee code) noexcept;
// The code of a status that is neither a line nor a head, reported.
TVNrescodee mps_fault(mps_reader& r, mps_status status) noexcept;
// A code whose message holds a name.
TVNrescodee mps_bad_name(mps_reader& r, TVNrescodee code, std::string_view name) noexcept;
// Row or column with this name, or the code of an undefined name, reported.
TVNrescodee mps_find_row(mps_reader& r, std::string_view name, int32_t& i) noexcept;
TVNrescodee mps_find_var(mps_reader& r, std::string_view name, int32_t& j) noexcept;
// "Using '%s' as %s vector".
void mps_log_using(mps_reader& r, std::string_view name, const char* what) noexcept;

// All data lines of a section; `handle` takes the fields and returns a response code. `finish` does what the lines
// have left over, before the end of the section and before a fault of a later line.
template <class Handle, class Finish>
TVNrescodee mps_each_line(mps_reader& r, mps_section section, Handle&& handle, Finish&& finish) {
  for (;;) {
    mps_fields f;
    const mps_status status = TVN_rm_read(r.rm, section, f);
    if (status != mps_status::line) {
      const TVNrescodee bad = finish();
      return bad || status == mps_status::head ? bad : mps_fault(r, status);
    }
    if (const TVNrescodee bad = handle(f)) return bad;
  }
}

template <class Handle> TVNrescodee mps_each_line(mps_reader& r, mps_section section, Handle&& handle) {
  return mps_each_line(r, section, handle, [] { return TVN_RES_OK; });
}

// The first pass: r.counts, and whether a file in relaxed mode is one in free form.
TVNrescodee TVN_estimatesize(mps_reader& r);
TVNrescodee mps_read_columns(mps_reader& r);
TVNrescodee mps_read_rhs(mps_reader& r);
TVNrescodee mps_read_ranges(mps_reader& r);
TVNrescodee mps_read_bounds(mps_reader& r);
// The section whose head is the present line: QUADOBJ and QSECTION, CSECTION.
TVNrescodee mps_read_quadratic(mps_reader& r, mps_section section);
TVNrescodee mps_read_cone(mps_reader& r);

} // namespace tvn
