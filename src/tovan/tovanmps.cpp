// The MPS reader: first pass, order of sections, ROWS, COLUMNS and the end of reading.
//
// The first pass only counts and takes any text; what is wrong is told by the second, at its line. A column is gathered
// with a map from row to position, which a flush cleans by the column's own list, so a column costs its length. The
// objective row is a row like the others until the end: its coefficients go to c and, with it, to A.
#include "tovan/tovanmps.h"

#include "tovan/data.h"
#include "tovan/log.h"
#include "tovan/names.h"
#include "tovan/param.h"
#include "tovan/report.h"
#include "tovan/tovanio.h"

#include <limits>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanmps";
constexpr int64_t progress_step = 1000000; // entries of A between two progress lines

// ---- first pass ----

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

// True when a line of ROWS or COLUMNS can only be meant in free form: a name runs past its field without a blank, or
// the library's own writer put one in quotes, and the number of words is that of free form.
bool is_free_line(const rm_state& rm, mps_section section, std::string_view line) noexcept {
  if (section != mps_section::rows && section != mps_section::columns) return false;
  const bool overflow = line.size() > 12 && line[11] != ' ' && line[12] != ' ';
  const bool quotes = rm.ours && rm.quoted && line.size() > 4 && line[4] == '"';
  if (!overflow && !quotes) return false;
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

TVNrescodee TVN_estimatesize(mps_reader& r, mps_counts& c) {
  rm_state& rm = r.rm;
  mps_section section = mps_section::none;
  last_name column;
  while (section != mps_section::endata && TVN_rm_getline(rm)) {
    const std::string_view line = rm.line;
    rm.ours = rm.ours || line.starts_with("* Written by TOVAN version");
    if (line.empty() || line[0] == '*') continue;
    if ((rm.linenumber & 0xFFFF) == 0) {
      if (const TVNrescodee stop = mps_tick(r)) return stop;
    }
    if (rm.mode == mps_mode::relaxed && is_free_line(rm, section, line)) {
      rm.mode = mps_mode::free;
      if (logs_files(r.t)) echo(r.t, TVN_STREAM_LOG, "Names run past their fields: the file is read in free form.\n");
    }
    if (line[0] != ' ' && line[0] != '\t') {
      rm.pushedback = true;
      TVN_rm_checksechead(rm, section);
      c.numcone += section == mps_section::csection;
      continue;
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
  return TVN_RES_OK;
}

TVNrescodee size_task(mps_reader& r, const mps_counts& c) {
  task& t = r.t;
  const int64_t numcon = c.numcon + TVNP_getintparam(t, TVN_IPAR_READ_ADD_CON);
  const int64_t numvar = c.numvar + TVNP_getintparam(t, TVN_IPAR_READ_ADD_VAR);
  const int64_t numcone = c.numcone + TVNP_getintparam(t, TVN_IPAR_READ_ADD_CONE);
  constexpr int64_t limit = std::numeric_limits<int32_t>::max();
  if (numcon > limit) return report(t, label, __LINE__, TVN_RES_ERR_NUMCONLIM);
  if (numvar > limit || numcone > limit) return report(t, label, __LINE__, TVN_RES_ERR_NUMVARLIM);
  r.rows.make(*t.sys, c.numcon);
  r.cols.make(*t.sys, c.numvar);
  r.cones.make(*t.sys, c.numcone);
  // The objective's terms stand in the pool twice while the objective row is kept.
  const int64_t copies = r.keepfree ? 2 : 1;
  const TVNrescodee code =
      resize_task(t, static_cast<int32_t>(numcon), static_cast<int32_t>(numvar), static_cast<int32_t>(numcone),
                  c.numanz + TVNP_getintparam(t, TVN_IPAR_READ_ADD_ANZ),
                  copies * c.numqnz + TVNP_getintparam(t, TVN_IPAR_READ_ADD_QNZ));
  if (code == TVN_RES_OK) TVN_chgnamespc(t, 0); // room for all names at once
  return code;
}

// ---- small sections ----

TVNrescodee read_name(mps_reader& r) { return mps_fail(r, TVN_puttaskname(&r.t, c_name(TVN_rm_readtitle(r.rm)).text)); }

TVNrescodee read_objsense(mps_reader& r) {
  // The word may stand in any column: there is nothing else on the line.
  while (TVN_rm_getline(r.rm)) {
    const std::string_view line = r.rm.line;
    const size_t first = line.find_first_not_of(" \t");
    if (line.empty() || line[0] == '*' || first == std::string_view::npos) continue;
    const std::string_view word = line.substr(first, line.find_last_not_of(" \t") - first + 1);
    const bool maximize = word == "MAX" || word == "MAXIMIZE";
    if (first == 0 || (!maximize && word != "MIN" && word != "MINIMIZE"))
      return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_INVALID_OBJSENSE, c_name(word).text));
    if (TVNP_getintparam(r.t, TVN_IPAR_READ_MPS_OBJ_SENSE) == 0) return TVN_RES_OK;
    return TVN_putobjsense(&r.t, maximize ? TVN_OBJECTIVE_SENSE_MAXIMIZE : TVN_OBJECTIVE_SENSE_MINIMIZE);
  }
  return mps_fault(r, mps_status::end_of_file);
}

TVNrescodee read_objname(mps_reader& r) {
  return mps_each_line(r, mps_section::objname, [&](const mps_fields& f) {
    if (!f.key.empty()) return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_INV_FIELD, 1));
    return mps_fail(r, TVN_putstrparam(&r.t, TVN_SPAR_READ_MPS_OBJ_NAME, c_name(f.name2).text));
  });
}

// ---- ROWS ----

TVNrescodee bad_name(mps_reader& r, TVNrescodee code, std::string_view name) noexcept {
  return mps_fail(r, report(r.t, label, __LINE__, code, c_name(name).text));
}

TVNrescodee read_row(mps_reader& r, const mps_fields& f) {
  const char letter = f.key.empty() ? ' ' : f.key[0];
  const int32_t key = letter == 'L'   ? TVN_BK_UP
                      : letter == 'E' ? TVN_BK_FX
                      : letter == 'G' ? TVN_BK_LO
                      : letter == 'N' ? TVN_BK_FR
                                      : -1;
  if (key < 0) {
    const c_name word(f.key), name(f.name2);
    return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_INV_CON_KEY, word.text, name.text));
  }
  if (f.name2.empty()) return bad_name(r, TVN_RES_ERR_MPS_NULL_CON_NAME, f.name2);
  const int32_t i = r.rows.insert(f.name2);
  if (i < 0) return bad_name(r, TVN_RES_ERR_MPS_MUL_CON_NAME, f.name2);
  r.isfree.push_back(key == TVN_BK_FR);
  int32_t first = 0;
  TVNrescodee code = TVN_core_append(r.t, TVN_ACC_CON, 1, &first);
  if (code == TVN_RES_OK) code = put_bound(r.t, TVN_ACC_CON, i, key, 0.0, 0.0);
  if (code == TVN_RES_OK) code = put_name(r.t, TVN_PI_CON, i, r.rows.text(i));
  return mps_fail(r, code);
}

TVNrescodee choose_objective(mps_reader& r) {
  const std::string_view wanted = TVNP_getstrparam(r.t, TVN_SPAR_READ_MPS_OBJ_NAME);
  if (!wanted.empty()) {
    r.objrow = r.rows.find(wanted);
    if (r.objrow < 0) return bad_name(r, TVN_RES_ERR_MPS_INVALID_OBJ_NAME, wanted);
  } else {
    for (int32_t i = 0; i < r.rows.size() && r.objrow < 0; i++)
      if (r.isfree[i]) r.objrow = i;
    if (r.objrow < 0) return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_NO_OBJECTIVE));
  }
  mps_log_using(r, r.rows.view(r.objrow), "objective");
  return mps_fail(r, put_objname(r.t, r.rows.text(r.objrow)));
}

TVNrescodee read_rows(mps_reader& r) {
  const TVNrescodee bad = mps_each_line(r, mps_section::rows, [&](const mps_fields& f) { return read_row(r, f); });
  return bad ? bad : choose_objective(r);
}

// ---- COLUMNS ----

struct column_state {
  int32_t var = -1;       // that is being gathered
  bool integer = false;   // inside an integer block
  int64_t numentries = 0; // in the file so far
  vec<int32_t> sub;       // rows of the column
  vec<double> val;
  buffer<int32_t> position; // [rows] place in sub + 1, 0 for rows that the column does not have
};

TVNrescodee flush_column(mps_reader& r, column_state& s) {
  if (s.var < 0) return TVN_RES_OK;
  TVNrescodee code = TVN_RES_OK;
  const int32_t objective = s.position[r.objrow];
  if (objective > 0) code = put_cj(r.t, s.var, s.val[objective - 1]);
  if (code == TVN_RES_OK) code = put_avec(r.t, TVN_ACC_VAR, s.var, s.sub.size(), s.sub.data(), s.val.data());
  for (const int32_t i : s.sub) s.position[i] = 0;
  s.sub.clear();
  s.val.clear();
  return mps_fail(r, code);
}

TVNrescodee start_column(mps_reader& r, column_state& s, std::string_view name) {
  if (name.empty()) return bad_name(r, TVN_RES_ERR_MPS_NULL_VAR_NAME, name);
  if (const TVNrescodee bad = flush_column(r, s)) return bad;
  s.var = r.cols.insert(name);
  if (s.var < 0) return bad_name(r, TVN_RES_ERR_MPS_SPLITTED_VAR, name);
  int32_t first = 0;
  TVNrescodee code = TVN_core_append(r.t, TVN_ACC_VAR, 1, &first);
  if (code == TVN_RES_OK)
    code = s.integer ? put_bound(r.t, TVN_ACC_VAR, s.var, TVN_BK_RA, 0.0, 1.0)
                     : put_bound(r.t, TVN_ACC_VAR, s.var, TVN_BK_LO, 0.0, infinity);
  if (code == TVN_RES_OK && s.integer && r.keepint) code = TVN_putvartype(&r.t, s.var, TVN_VAR_TYPE_INT);
  if (code == TVN_RES_OK) code = put_name(r.t, TVN_PI_VAR, s.var, r.cols.text(s.var));
  return mps_fail(r, code);
}

TVNrescodee add_entry(mps_reader& r, column_state& s, std::string_view row, double value) {
  if (row.empty() && value == 0) return TVN_RES_OK;
  int32_t i = 0;
  if (const TVNrescodee bad = mps_find_row(r, row, i)) return bad;
  if (value == 0) return TVN_RES_OK;
  if (s.position[i] > 0) {
    s.val[s.position[i] - 1] += value;
  } else {
    s.sub.push_back(i);
    s.val.push_back(value);
    s.position[i] = static_cast<int32_t>(s.sub.size());
  }
  if (++s.numentries % progress_step == 0 && logs_files(r.t))
    echo(r.t, TVN_STREAM_LOG, "Read %lld number of %s in %.2f seconds.\n", static_cast<long long>(s.numentries),
         "A nonzeros", TVN_sysenv_gettime() - r.starttime);
  return TVN_RES_OK;
}

TVNrescodee read_marker(mps_reader& r, column_state& s, std::string_view word) {
  if (!s.integer) {
    s.integer = word == "'INTORG'";
  } else if (word == "'INTEND'") {
    s.integer = false;
  } else {
    return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_INV_MARKER));
  }
  return TVN_RES_OK;
}

TVNrescodee read_columns(mps_reader& r) {
  column_state s;
  s.sub.attach(*r.t.sys);
  s.val.attach(*r.t.sys);
  s.position.reset(*r.t.sys, r.rows.size(), 0);
  const TVNrescodee bad = mps_each_line(r, mps_section::columns, [&](const mps_fields& f) {
    if (f.name3 == "'MARKER'") return read_marker(r, s, f.name5);
    TVNrescodee code = TVN_RES_OK;
    if (s.var < 0 || f.name2 != r.cols.view(s.var)) code = start_column(r, s, f.name2);
    if (code == TVN_RES_OK) code = add_entry(r, s, f.name3, f.value4);
    if (code == TVN_RES_OK && !(f.name5.empty() && f.value6 == 0)) code = add_entry(r, s, f.name5, f.value6);
    return code;
  });
  return bad ? bad : flush_column(r, s);
}

// ---- sections and their order ----

struct section_order {
  int32_t next = 0; // the lowest section that may follow
  bool accept(mps_section section) noexcept {
    const auto k = static_cast<int32_t>(section);
    if (section == mps_section::quadobj || section == mps_section::qsection || section == mps_section::csection)
      return next >= 4;
    if (k < next) return false;
    if (section != mps_section::sets) next = k + 1;
    return true;
  }
};

TVNrescodee skip_section(mps_reader& r) {
  while (TVN_rm_getline(r.rm))
    if (!r.rm.line.empty() && r.rm.line[0] != ' ' && r.rm.line[0] != '\t' && r.rm.line[0] != '*') {
      r.rm.pushedback = true;
      return TVN_RES_OK;
    }
  return mps_fault(r, mps_status::end_of_file);
}

TVNrescodee read_section(mps_reader& r, mps_section section) {
  // Without ROWS there is nothing that the later sections could speak of.
  if (section > mps_section::rows && r.objrow < 0) return choose_objective(r);
  switch (section) {
  case mps_section::name: return read_name(r);
  case mps_section::objsense: return read_objsense(r);
  case mps_section::objname: return read_objname(r);
  case mps_section::rows: return read_rows(r);
  case mps_section::columns: return read_columns(r);
  case mps_section::rhs: return mps_read_rhs(r);
  case mps_section::ranges: return mps_read_ranges(r);
  case mps_section::bounds: return mps_read_bounds(r);
  case mps_section::sets: return skip_section(r);
  case mps_section::quadobj:
  case mps_section::qsection: return mps_read_quadratic(r, section);
  case mps_section::csection: return mps_read_cone(r);
  case mps_section::endata:
  case mps_section::none: break;
  }
  return TVN_RES_OK;
}

// Every row of type N goes, the objective row among them; the others keep their order.
TVNrescodee remove_free_rows(mps_reader& r) {
  const int32_t numcon = r.rows.size();
  int32_t numkept = 0;
  for (const char isfree : r.isfree) numkept += !isfree;
  if (numkept == numcon) return TVN_RES_OK;
  buffer<int32_t> perm(*r.t.sys, numcon);
  for (int32_t i = 0, kept = 0, gone = numkept; i < numcon; i++) perm[i] = r.isfree[i] ? gone++ : kept++;
  return TVN_permuteandremove(&r.t, TVN_ACC_CON, numkept, perm.data());
}

TVNrescodee finish_reading(mps_reader& r) {
  if (r.objrow < 0) return choose_objective(r);
  TVNrescodee code = TVN_putcfix(&r.t, r.fixedterm);
  // Cones get their names together: each new cone drops the map of the names before it.
  for (int32_t k = 0; k < r.t.prob.numcone && code == TVN_RES_OK; k++)
    code = put_name(r.t, TVN_PI_CONE, k, r.cones.text(k));
  if (code == TVN_RES_OK && !r.keepfree) code = remove_free_rows(r);
  return code;
}

TVNrescodee TVN_readmpsfile(mps_reader& r) {
  section_order order;
  for (mps_section section;;) {
    if (!TVN_rm_checksechead(r.rm, section)) return mps_fault(r, mps_status::end_of_file);
    if (section == mps_section::none) return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_INV_FIELD, 1));
    if (!order.accept(section))
      return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_INV_SEC_ORDER, mps_section_word(section)));
    if (section == mps_section::endata) return finish_reading(r);
    if (const TVNrescodee bad = read_section(r, section)) return bad;
  }
}

} // namespace

mps_reader::mps_reader(task& task_, rm_state& rm_) : t(task_), rm(rm_) {
  isfree.attach(*t.sys);
  hasq.attach(*t.sys);
  members.attach(*t.sys);
  qi.attach(*t.sys);
  qj.attach(*t.sys);
  qval.attach(*t.sys);
  starttime = TVN_sysenv_gettime();
  keepint = TVNP_getintparam(t, TVN_IPAR_READ_MPS_KEEP_INT) != 0;
  keepfree = TVNP_getintparam(t, TVN_IPAR_READ_KEEP_FREE_CON) != 0;
}

TVNrescodee mps_fail(mps_reader& r, TVNrescodee code) noexcept {
  if (code == TVN_RES_OK) return code;
  const c_name line(r.rm.line);
  echo(r.t, TVN_STREAM_ERR, "The error occured at line(%d):\n", static_cast<int>(r.rm.linenumber));
  echo(r.t, TVN_STREAM_ERR, "%s\n", line.text);
  return code;
}

TVNrescodee mps_fault(mps_reader& r, mps_status status) noexcept {
  TVNrescodee code = TVN_RES_ERR_MPS_FILE;
  switch (status) {
  case mps_status::bad_field: code = TVN_RES_ERR_MPS_INV_FIELD; break;
  case mps_status::tab_in_field:
    code = r.rm.badfield == 2   ? TVN_RES_ERR_MPS_TAB_IN_FIELD2
           : r.rm.badfield == 3 ? TVN_RES_ERR_MPS_TAB_IN_FIELD3
                                : TVN_RES_ERR_MPS_TAB_IN_FIELD5;
    break;
  case mps_status::end_of_file:
    if (r.rm.filestate != sys_code::ok) return TVN_sysrestores(r.rm.filestate); // reported by TVN_readmps
    code = TVN_RES_ERR_END_OF_FILE;
    break;
  case mps_status::line:
  case mps_status::head:
  case mps_status::too_long: break;
  }
  return mps_fail(r, report(r.t, label, __LINE__, code, r.rm.badfield));
}

TVNrescodee mps_tick(mps_reader& r) noexcept { return TVN_tovanlog(&r.t, TVN_CALLBACK_READ_ADD_VARS); }

TVNrescodee mps_find_row(mps_reader& r, std::string_view name, int32_t& i) noexcept {
  i = r.rows.find(name);
  return i >= 0 ? TVN_RES_OK : bad_name(r, TVN_RES_ERR_MPS_UNDEF_CON_NAME, name);
}

TVNrescodee mps_find_var(mps_reader& r, std::string_view name, int32_t& j) noexcept {
  j = r.cols.find(name);
  return j >= 0 ? TVN_RES_OK : bad_name(r, TVN_RES_ERR_MPS_UNDEF_VAR_NAME, name);
}

void mps_log_using(mps_reader& r, std::string_view name, const char* what) noexcept {
  if (logs_files(r.t)) echo(r.t, TVN_STREAM_LOG, "Using '%s' as %s vector\n", c_name(name).text, what);
}

TVNrescodee TVN_readmps(task& t, int32_t mode, sysfile& file, const char* name) {
  rm_state rm;
  TVN_rm_make(rm, *t.sys, file, static_cast<mps_mode>(mode), TVNP_getintparam(t, TVN_IPAR_READ_MPS_QUOTED_NAMES) != 0,
              TVNP_getintparam(t, TVN_IPAR_READ_MPS_WIDTH));
  mps_reader r(t, rm);
  mps_counts counts;
  TVNrescodee code = TVN_estimatesize(r, counts);
  if (code == TVN_RES_OK) code = size_task(r, counts);
  if (code == TVN_RES_OK) {
    TVN_rm_rewind(rm);
    code = TVN_readmpsfile(r);
  }
  // A damaged file is told as such, whatever its last line looked like.
  const TVNrescodee filecode = report_file(t, label, __LINE__, rm.filestate, name);
  return filecode ? filecode : code;
}

} // namespace tvn
