// The line reader and the field splitter.
//
// Text that a block leaves over is moved to its front before the next read, so every line lies in one piece; a line
// longer than the block doubles the block. The end of the line that was found last is kept, which keeps a file with CR
// line ends linear. A split looks at each character of a line once or twice and copies none but in odd numbers.
#include "tovan/files/mps/readmps.h"

#include "misc/numtext.h"

#include <bit>
#include <utility>

namespace tvn {

namespace {

constexpr int64_t block_size = 1 << 18;
constexpr int64_t goeson_step = 4; // blocks

constexpr const char* section_words[num_mps_sections] = {"NAME",     "OBJSENSE", "OBJNAME", "ROWS", "COLUMNS",
                                                         "RHS",      "RANGES",   "BOUNDS",  "SETS", "QUADOBJ",
                                                         "QSECTION", "CSECTION", "ENDATA"};

struct field_place {
  size_t start, width;
};
constexpr field_place places[6] = {{1, 2}, {4, 8}, {14, 8}, {24, 12}, {39, 8}, {49, 12}};

// Most files hold none of these characters: then no line is searched for them.
void note_odd_characters(rm_state& rm, const char* text, size_t len) noexcept {
  rm.hascr = rm.hascr || std::memchr(text, '\r', len);
  rm.hasodd = rm.hasodd || std::memchr(text, '\t', len) || std::memchr(text, '\0', len);
  rm.hasdollar = rm.hasdollar || std::memchr(text, '$', len);
}

// Makes room behind the text that is left and reads on. False when the file has no more.
bool refill(rm_state& rm) {
  if (rm.atend) return false;
  const int64_t left = rm.end - rm.begin;
  if (left > 0 && rm.begin == 0 && rm.end == rm.block.size()) { // a line longer than the block
    if (left >= rm.maxline) {
      rm.endless = true;
      rm.filestate = sys_code::file_read;
      return false;
    }
    buffer<char> larger(*rm.sys, 2 * rm.block.size());
    std::memcpy(larger.data(), rm.block.data(), static_cast<size_t>(left));
    rm.block.swap(larger);
  } else if (left > 0) {
    std::memmove(rm.block.data(), rm.block.data() + rm.begin, static_cast<size_t>(left));
  }
  rm.begin = 0;
  const int64_t room = rm.block.size() - left;
  const int64_t got = TVN_sysenv_fread(*rm.file, rm.block.data() + left, room, rm.filestate);
  rm.end = left + got;
  rm.atend = got < room;
  rm.newline = -1;
  if (rm.numreads++ % goeson_step == 0 && rm.goeson && !rm.goeson(rm.handle)) {
    rm.end = rm.begin;
    rm.atend = true;
    return false;
  }
  note_odd_characters(rm, rm.block.data() + left, static_cast<size_t>(got));
  return got > 0;
}

void find_newline(rm_state& rm) noexcept {
  if (rm.newline >= rm.begin) return;
  const char* from = rm.block.data() + rm.begin;
  const void* at = std::memchr(from, '\n', static_cast<size_t>(rm.end - rm.begin));
  rm.newline = at ? static_cast<const char*>(at) - rm.block.data() : rm.end;
}

// Takes [begin, stop) as the line; the next one begins at `next`.
bool deliver(rm_state& rm, int64_t stop, int64_t next) noexcept {
  rm.line = {rm.block.data() + rm.begin, static_cast<size_t>(stop - rm.begin)};
  rm.begin = next;
  rm.linenumber++;
  return true;
}

bool is_blank(char c) noexcept { return c == ' ' || c == '\t'; }

std::string_view trim_right(std::string_view s) noexcept {
  while (!s.empty() && is_blank(s.back())) s.remove_suffix(1);
  return s;
}

mps_status bad_field(rm_state& rm, int32_t field) noexcept {
  rm.badfield = field;
  return mps_status::bad_field;
}

// Everything in [from, to) is blank.
bool is_gap(std::string_view line, size_t from, size_t to) noexcept {
  to = std::min(to, line.size());
  for (size_t k = from; k < to; k++)
    if (line[k] != ' ') return false;
  return true;
}

// The name of 8 characters at most, without the blanks at its end.
std::string_view name_at(std::string_view line, const field_place& p) noexcept {
  if (line.size() <= p.start) return {};
  const char* from = line.data() + p.start;
  if (line.size() >= p.start + sizeof(uint64_t)) { // the highest byte that is no blank ends the name
    static_assert(std::endian::native == std::endian::little);
    uint64_t word;
    std::memcpy(&word, from, sizeof word);
    return {from, sizeof word - static_cast<size_t>(std::countl_zero(word ^ 0x2020202020202020u) / 8)};
  }
  std::string_view name = line.substr(p.start);
  while (!name.empty() && name.back() == ' ') name.remove_suffix(1);
  return name;
}

// End of the number that stands at a fixed column.
size_t number_end(std::string_view line, const field_place& p, mps_mode mode) noexcept {
  size_t end = std::min(line.size(), p.start + p.width);
  if (mode == mps_mode::relaxed)
    while (end < line.size() && line[end] != ' ' && line[end - 1] != ' ') end++;
  return end;
}

// The number of field k + 1 and the blanks up to the field behind it.
bool fixed_number(const rm_state& rm, std::string_view line, size_t k, double& value) noexcept {
  const field_place& p = places[k];
  if (line.size() <= p.start) return true;
  const size_t end = number_end(line, p, rm.mode);
  const size_t next = k + 1 < 6 ? places[k + 1].start : line.size();
  if (!is_gap(line, end, next)) return false;
  // A number that ran into the next field leaves no room for that one.
  if (end > next && end < line.size()) return false;
  return parse_mps_number(line.substr(p.start, end - p.start), value);
}

bool takes_comments(const rm_state& rm) noexcept {
  return rm.hasdollar && !rm.dollarnames && rm.mode != mps_mode::strict;
}

// The line without a comment that stands at the place of field 3 or 5.
std::string_view without_comment(std::string_view line) noexcept {
  for (const size_t k : {places[2].start, places[4].start})
    if (line.size() > k && line[k] == '$') return trim_right(line.substr(0, k));
  return line;
}

mps_status split_fixed(rm_state& rm, std::string_view line, mps_fields& f) noexcept {
  f = {};
  if (takes_comments(rm)) line = without_comment(line);
  f.key = trim(line.substr(std::min<size_t>(1, line.size()), places[0].width));
  f.name2 = name_at(line, places[1]);
  f.name3 = name_at(line, places[2]);
  if (!is_gap(line, 3, 4)) return bad_field(rm, 1);
  if (!is_gap(line, 12, 14)) return bad_field(rm, 2);
  if (!is_gap(line, 22, 24)) return bad_field(rm, 3);
  if (line.size() <= places[3].start) return mps_status::line;
  if (!fixed_number(rm, line, 3, f.value4)) return bad_field(rm, 4);
  if (number_end(line, places[3], rm.mode) > places[4].start) return mps_status::line;
  f.name5 = name_at(line, places[4]);
  if (!is_gap(line, 47, 49)) return bad_field(rm, 5);
  return fixed_number(rm, line, 5, f.value6) ? mps_status::line : bad_field(rm, 6);
}

// The next token of a line in free form, which is taken off it. A quoted name keeps its blanks.
std::string_view next_token(std::string_view& line, bool quoted) noexcept {
  size_t k = 0;
  while (k < line.size() && is_blank(line[k])) k++;
  line.remove_prefix(k);
  if (quoted && !line.empty() && line[0] == '"') {
    const size_t close = line.find('"', 1);
    const std::string_view token = line.substr(1, close == std::string_view::npos ? close : close - 1);
    line.remove_prefix(close == std::string_view::npos ? line.size() : close + 1);
    return token;
  }
  for (k = 0; k < line.size() && !is_blank(line[k]);) k++;
  const std::string_view token = line.substr(0, k);
  line.remove_prefix(k);
  return token;
}

mps_status split_free(rm_state& rm, std::string_view line, mps_section section, int32_t first, mps_fields& f) noexcept {
  f = {};
  for (int32_t field = first; !(line = trim(line)).empty(); field++) {
    const bool isname = field == 2 || field == 3 || field == 5;
    if (line[0] == '$' && (field == 3 || field == 5) && takes_comments(rm)) break;
    const std::string_view token = next_token(line, rm.quoted && isname);
    switch (field) {
    case 1: f.key = token; break;
    case 2: f.name2 = token; break;
    case 3:
      f.name3 = token;
      if (section == mps_section::columns && token == "'MARKER'") field++;
      break;
    case 4:
      if (!parse_mps_number(token, f.value4)) return bad_field(rm, 4);
      break;
    case 5: f.name5 = token; break;
    case 6:
      if (!parse_mps_number(token, f.value6)) return bad_field(rm, 6);
      break;
    default: return bad_field(rm, 6);
    }
  }
  return mps_status::line;
}

// A marker that stands elsewhere than at the columns of its fields, as many files have it: name, 'MARKER' and a word in
// quotes. At the fixed columns such a line can mean nothing else.
bool split_marker(std::string_view line, mps_fields& f) noexcept {
  f = {};
  f.name2 = next_token(line, false);
  f.name3 = next_token(line, false);
  f.name5 = next_token(line, false);
  return f.name3 == "'MARKER'" && f.name5.starts_with('\'') && trim_right(line).empty();
}

// The first name field of the line that holds the character, 0 when none does.
int32_t name_with(std::string_view line, const mps_fields& f, char c) noexcept {
  const auto has = [c](std::string_view s) { return s.find(c) != std::string_view::npos; };
  if (!has(line)) return 0;
  return has(f.name2) ? 2 : has(f.name3) ? 3 : has(f.name5) ? 5 : 0;
}

mps_status split(rm_state& rm, std::string_view line, mps_section section, int32_t firstfree, mps_fields& f) noexcept {
  const mps_status status =
      rm.mode == mps_mode::free ? split_free(rm, line, section, firstfree, f) : split_fixed(rm, line, f);
  if (!rm.hasodd) return status;
  // A name is a C string: a NUL would end it, and two names could become one.
  if (const int32_t field = name_with(line, f, '\0')) return bad_field(rm, field);
  const int32_t field = name_with(line, f, '\t');
  if (field == 0) return status;
  rm.badfield = field;
  return mps_status::tab_in_field;
}

} // namespace

const char* mps_section_word(mps_section section) noexcept {
  return section == mps_section::none ? "" : section_words[static_cast<int32_t>(section)];
}

bool parse_mps_number(std::string_view text, double& value) noexcept {
  text = trim(text);
  value = 0;
  if (text.empty() || parse_real(text, value)) return true;
  char plain[512];
  size_t len = 0;
  for (const char c : text) {
    if (c == ' ') continue;
    if (len == sizeof plain) return false;
    plain[len++] = c == 'D' ? 'E' : c;
  }
  return parse_real({plain, len}, value);
}

void TVN_rm_make(rm_state& rm, sysenv& sys, sysfile& file, mps_mode mode, bool quoted, int64_t width) {
  rm.sys = &sys;
  rm.file = &file;
  rm.mode = mode;
  rm.quoted = quoted;
  rm.width = width;
  rm.block.reset(sys, block_size);
}

void TVN_rm_rewind(rm_state& rm) {
  rm.begin = rm.linenumber = 0;
  rm.newline = -1;
  rm.pushedback = false;
  if (rm.atend && rm.numreads == 1) return; // the block still holds the whole file
  TVN_sysenv_frewind(*rm.file, rm.filestate);
  rm.end = rm.numreads = 0;
  rm.atend = false;
}

bool TVN_rm_getline(rm_state& rm) {
  if (rm.pushedback) {
    rm.pushedback = false;
    return true;
  }
  while (rm.filestate == sys_code::ok) {
    find_newline(rm);
    const char* from = rm.block.data() + rm.begin;
    const void* cr = rm.hascr ? std::memchr(from, '\r', static_cast<size_t>(rm.newline - rm.begin)) : nullptr;
    const int64_t at = cr ? static_cast<const char*>(cr) - rm.block.data() : rm.newline;
    // A CR at the end of the block may have its LF in the next one.
    if (cr && (at + 1 < rm.end || rm.atend))
      return deliver(rm, at, at + 1 == rm.newline && at + 1 < rm.end ? at + 2 : at + 1);
    if (!cr && rm.newline < rm.end) return deliver(rm, at, at + 1);
    if (refill(rm)) continue;
    if (rm.filestate != sys_code::ok || rm.begin == rm.end) break;
    if (!cr) return deliver(rm, rm.end, rm.end);
  }
  return false;
}

mps_status TVN_rm_read(rm_state& rm, mps_section section, mps_fields& fields) {
  while (TVN_rm_getline(rm)) {
    const std::string_view line = trim_right(rm.line);
    if (line.empty() || line[0] == '*') continue;
    if (line[0] != ' ' && !(line[0] == '\t' && rm.mode == mps_mode::free)) {
      rm.pushedback = true;
      return mps_status::head;
    }
    if (static_cast<int64_t>(line.size()) > rm.width) return mps_status::too_long;
    const bool haskey = section == mps_section::rows || section == mps_section::bounds;
    mps_status status = split(rm, line, section, haskey ? 1 : 2, fields);
    // Text in an unused field 1 is the sign of a file in free form: its fields would be taken for others.
    const bool nokey = section == mps_section::columns || section == mps_section::rhs || section == mps_section::ranges;
    if (nokey && !fields.key.empty()) status = bad_field(rm, 1);
    if (status != mps_status::line && section == mps_section::columns && rm.mode == mps_mode::relaxed &&
        split_marker(line, fields))
      return mps_status::line;
    return status;
  }
  return mps_status::end_of_file;
}

bool TVN_rm_checksechead(rm_state& rm, mps_section& section) {
  section = mps_section::none;
  while (TVN_rm_getline(rm)) {
    const std::string_view line = trim_right(rm.line);
    if (line.empty() || line[0] == '*') continue;
    for (int32_t k = 0; k < num_mps_sections && section == mps_section::none; k++)
      if (line.starts_with(section_words[k])) section = static_cast<mps_section>(k);
    return true;
  }
  return false;
}

namespace {

// The keyword stands where the fields 1 and 2 are, which a head does not have.
mps_status split_fixed_head(rm_state& rm, std::string_view line, size_t keyword, mps_section section, mps_fields& f) {
  char blanked[1024];
  const size_t len = std::min(line.size(), sizeof blanked);
  std::memset(blanked, ' ', len);
  if (len > keyword) std::memcpy(blanked + keyword, line.data() + keyword, len - keyword);
  const mps_status status = split(rm, {blanked, len}, section, 3, f);
  // Views into the copy become views into the line.
  const auto rebase = [&](std::string_view s) {
    return s.empty() ? s : line.substr(static_cast<size_t>(s.data() - blanked), s.size());
  };
  f.key = {};
  f.name2 = rebase(f.name2);
  f.name3 = rebase(f.name3);
  f.name5 = rebase(f.name5);
  return status;
}

// The writer's own cone whose name or number did not fit into its field, though all names of rows and columns did.
bool is_free_head(const rm_state& rm, mps_section section, mps_status status, const mps_fields& f) noexcept {
  if (!rm.ours || rm.mode != mps_mode::relaxed || section != mps_section::csection) return false;
  return status != mps_status::line || f.name5.empty() || (rm.quoted && f.name3.starts_with('"'));
}

} // namespace

mps_status TVN_rm_readhead(rm_state& rm, mps_section section, mps_fields& fields) {
  const std::string_view line = trim_right(rm.line);
  const size_t keyword = std::string_view(mps_section_word(section)).size();
  const mps_mode mode = rm.mode;
  const bool dollarnames = std::exchange(rm.dollarnames, true); // a head has no comment
  mps_status status = mps_status::line;
  if (mode != mps_mode::free) status = split_fixed_head(rm, line, keyword, section, fields);
  if (mode == mps_mode::free || is_free_head(rm, section, status, fields)) {
    rm.mode = mps_mode::free;
    status = split(rm, line.substr(std::min(keyword, line.size())), section, 3, fields);
  }
  rm.mode = mode;
  rm.dollarnames = dollarnames;
  return status;
}

std::string_view TVN_rm_readtitle(const rm_state& rm) noexcept {
  const size_t blank = rm.line.find_first_of(" \t");
  return blank == std::string_view::npos ? std::string_view{} : trim(rm.line.substr(blank));
}

} // namespace tvn
