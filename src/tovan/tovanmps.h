// The MPS reader: sections of a file become put calls on a task.
//
// Two passes. The first counts, so that the task is sized once; the second fills the task through the same functions
// that callers use. Rows and columns are numbered in the order of the file; the objective row is a free row until the
// end, where all rows of type N leave together. The first fault stops the reader and what was entered stays.
#pragma once

#include "tovan/readmps.h"
#include "tovan/readmpsnames.h"
#include "tovan/task.h"

namespace tvn {

// What the first pass found; none is less than the second pass needs.
struct mps_counts {
  int64_t numcon = 0, numvar = 0, numcone = 0, numanz = 0, numqnz = 0;
};

struct mps_reader {
  task& t;
  rm_state& rm;
  double starttime = 0; // seconds since the epoch
  mps_names rows, cols, cones;
  vec<char> isfree; // [rows] 1: of type N
  int32_t objrow = -1;
  double fixedterm = 0;
  bool keepint = true, keepfree = false;
  vec<char> hasq;         // [rows] 1: has had its quadratic section; sized with the first such section
  vec<int32_t> members;   // of the cone that is being read
  buffer<int32_t> incone; // [cols] the number of cones met when the variable was listed last, 0: never
  vec<int32_t> qi, qj;    // entries of the quadratic section that is being read
  vec<double> qval;

  mps_reader(task& task_, rm_state& rm_);
};

// Reads the open file, whose name stands in messages. mode: TVN_MPS_FORMAT_*.
TVNrescodee TVN_readmps(task& t, int32_t mode, sysfile& file, const char* name);

// ---- shared by the files of the reader ----

// The present line with its number goes to the error stream when code is a fault; gives code back.
TVNrescodee mps_fail(mps_reader& r, TVNrescodee code) noexcept;
// The code of a status that is neither a line nor a head, reported.
TVNrescodee mps_fault(mps_reader& r, mps_status status) noexcept;
// Calls the progress callback now and then; nonzero when it wants to stop.
TVNrescodee mps_tick(mps_reader& r) noexcept;
// Row or column with this name, or the code of an undefined name, reported.
TVNrescodee mps_find_row(mps_reader& r, std::string_view name, int32_t& i) noexcept;
TVNrescodee mps_find_var(mps_reader& r, std::string_view name, int32_t& j) noexcept;
// "Using '%s' as %s vector".
void mps_log_using(mps_reader& r, std::string_view name, const char* what) noexcept;

// All data lines of a section; `handle` takes the fields and returns a response code.
template <class Handle> TVNrescodee mps_each_line(mps_reader& r, mps_section section, Handle&& handle) {
  for (;;) {
    mps_fields f;
    const mps_status status = TVN_rm_read(r.rm, section, f);
    if (status == mps_status::head) return TVN_RES_OK;
    if (status != mps_status::line) return mps_fault(r, status);
    if ((r.rm.linenumber & 0xFFFF) == 0) {
      if (const TVNrescodee stop = mps_tick(r)) return stop;
    }
    if (const TVNrescodee bad = handle(f)) return bad;
  }
}

TVNrescodee mps_read_rhs(mps_reader& r);
TVNrescodee mps_read_ranges(mps_reader& r);
TVNrescodee mps_read_bounds(mps_reader& r);
// The section whose head is the present line: QUADOBJ and QSECTION, CSECTION.
TVNrescodee mps_read_quadratic(mps_reader& r, mps_section section);
TVNrescodee mps_read_cone(mps_reader& r);

// A name from the line as a C string for messages, cut to what they can hold.
struct c_name {
  char text[TVN_MAX_STR_LEN];
  explicit c_name(std::string_view name) noexcept {
    const size_t n = std::min(name.size(), sizeof text - 1);
    if (n > 0) std::memcpy(text, name.data(), n);
    text[n] = '\0';
  }
};

} // namespace tvn
