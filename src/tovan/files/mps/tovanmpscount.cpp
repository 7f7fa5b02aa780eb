// The first pass over an MPS file.
//
// It only counts and takes any text; what is wrong is told by the second pass, at its line. Counts may be too large,
// never too small.
#include "tovan/files/mps/tovanmps.h"

#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/param.h"

#include <limits>

namespace tvn {

namespace {

// Pairs of name and number of a data line, and whether it starts another column.
int32_t count_pairs(const rm_state& rm, std::string_view line, std::string_view& name) noexcept {
  if (rm.mode != mps_mode::free) {
    name = line.substr(std::min<size_t>(4, line.size()), 8);
    return line.size() > 39 ? 2 : 1;
  }
  int32_t tokens = 0;
  for (size_t k = 0;;) {
    while (k < line.size() && (line[k] == ' ' || line[k] == '\t')) k++;
    if (k == line.size()) break;
    const size_t from = k;
    while (k < line.size() && line[k] != ' ' && line[k] != '\t') k++;
    if (tokens++ == 0) name = line.substr(from, k - from);
  }
  return tokens / 2;
}

struct last_name {
  char text[64] = {};
  size_t len = std::numeric_limits<size_t>::max();
  // True when the name differs from the one before; long names may be counted too often, never too rarely.
  bool change(std::string_view name) noexcept {
    if (len <= sizeof text && name == std::string_view(text, len)) return false;
    len = name.size();
    if (len > 0) std::memcpy(text, name.data(), std::min(len, sizeof text));
    return true;
  }
};

// True when a data line of ROWS or COLUMNS can only be meant in free form: a name runs past its field without a blank
// or begins before it, or the library's own writer put one in quotes, and the number of words is that of free form.
bool is_free_line(const rm_state& rm, mps_section section, std::string_view line) noexcept {
  if (section != mps_section::rows && section != mps_section::columns) return false;
  const bool overflow = line.size() > 12 && line[11] != ' ' && line[12] != ' ';
  const bool quotes = rm.ours && rm.quoted && line.size() > 4 && line[4] == '"';
  // Columns have no field 1; a marker may stand anywhere.
  const size_t from = section == mps_section::rows ? 3 : 1;
  const bool early = line.size() > from && line.substr(0, 4).find_first_not_of(' ', from) != std::string_view::npos &&
                     line.find("'MARKER'") == std::string_view::npos;
  if (!overflow && !quotes && !early) return false;
  int32_t words = 0;
  bool inquotes = false, blank = true;
  for (const char ch : line) {
    if (ch == '"' && rm.quoted && (inquotes || blank)) inquotes = !inquotes; // only a name's first one opens
    const bool isblank = (ch == ' ' || ch == '\t') && !inquotes;
    words += blank && !isblank;
    blank = isblank;
  }
  return section == mps_section::rows ? words == 2 : words == 3 || words == 5;
}

} // namespace

TVNrescodee TVN_estimatesize(mps_reader& r) {
  rm_state& rm = r.rm;
  mps_counts& c = r.counts = {};
  mps_section section = mps_section::none;
  last_name column;
  while (section != mps_section::endata && TVN_rm_getline(rm)) {
    const std::string_view line = rm.line;
    if (line.empty()) continue;
    if (line[0] == '*') {
      rm.ours = rm.ours || line.starts_with("* Written by TOVAN version");
      continue;
    }
    if (line[0] != ' ' && line[0] != '\t') {
      rm.pushedback = true;
      TVN_rm_checksechead(rm, section);
      c.numcone += section == mps_section::csection;
      continue;
    }
    if (rm.mode == mps_mode::relaxed && is_free_line(rm, section, line)) { // what was counted so far was misread
      rm.mode = mps_mode::free;
      if (logs_files(r.t))
        echo(r.t, TVN_STREAM_LOG, "Names stand outside their fields: the file is read in free form.\n");
      TVN_rm_rewind(rm);
      return TVN_estimatesize(r);
    }
    std::string_view name;
    const int32_t pairs = count_pairs(rm, line, name);
    if (section == mps_section::rows) c.numcon++;
    if (section == mps_section::columns) {
      c.numanz += pairs;
      c.numvar += column.change(name);
    }
    if (section == mps_section::quadobj || section == mps_section::qsection) c.numqnz += pairs;
  }
  return r.stop;
}

} // namespace tvn
