// The MPS reader: the two passes, the order of the sections, the small ones and ROWS, and the end of reading.
#include "tovan/files/mps/tovanmps.h"

#include "tovan/data/data.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/names.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <limits>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanmps";

TVNrescodee size_task(mps_reader& r) {
  task& t = r.t;
  const mps_counts& c = r.counts;
  const int64_t numcon = c.numcon + TVNP_getintparam(t, TVN_IPAR_READ_ADD_CON);
  const int64_t numvar = c.numvar + TVNP_getintparam(t, TVN_IPAR_READ_ADD_VAR);
  const int64_t numcone = c.numcone + TVNP_getintparam(t, TVN_IPAR_READ_ADD_CONE);
  constexpr int64_t limit = std::numeric_limits<int32_t>::max();
  if (numcon > limit) return report(t, label, __LINE__, TVN_RES_ERR_NUMCONLIM);
  if (numvar > limit || numcone > limit) return report(t, label, __LINE__, TVN_RES_ERR_NUMVARLIM);
  // The objective's terms stand in the pool twice while the objective row is kept.
  const int64_t copies = r.keepfree ? 2 : 1;
  const TVNrescodee code =
      resize_task(t, static_cast<int32_t>(numcon), static_cast<int32_t>(numvar), static_cast<int32_t>(numcone),
                  c.numanz + TVNP_getintparam(t, TVN_IPAR_READ_ADD_ANZ),
                  copies * c.numqnz + TVNP_getintparam(t, TVN_IPAR_READ_ADD_QNZ));
  if (code != TVN_RES_OK) return code;
  TVN_chgnamespc(t, 0); // room for all names at once
  r.rows.make(*t.sys, t.names.pool, t.names.offset[TVN_PI_CON], c.numcon);
  r.cols.make(*t.sys, t.names.pool, t.names.offset[TVN_PI_VAR], c.numvar);
  r.cones.make(*t.sys, t.names.pool, t.names.offset[TVN_PI_CONE], c.numcone);
  return TVN_RES_OK;
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
  if (f.name2.empty()) return mps_bad_name(r, TVN_RES_ERR_MPS_NULL_CON_NAME, f.name2);
  const int32_t i = r.rows.insert(name_key(f.name2));
  if (i < 0) return mps_bad_name(r, TVN_RES_ERR_MPS_MUL_CON_NAME, f.name2);
  r.rm.dollarnames = r.rm.dollarnames || f.name2[0] == '$';
  r.isfree.push_back(key == TVN_BK_FR);
  int32_t first = 0;
  TVNrescodee code = TVN_core_append(r.t, TVN_ACC_CON, 1, &first);
  if (code != TVN_RES_OK) return mps_fail(r, code);
  append_name(r.t, TVN_PI_CON, i, f.name2);
  return mps_fail(r, put_bound(r.t, TVN_ACC_CON, i, key, 0.0, 0.0));
}

TVNrescodee choose_objective(mps_reader& r) {
  const std::string_view wanted = TVNP_getstrparam(r.t, TVN_SPAR_READ_MPS_OBJ_NAME);
  if (!wanted.empty()) {
    r.objrow = r.rows.find(name_key(wanted));
    if (r.objrow < 0) return mps_bad_name(r, TVN_RES_ERR_MPS_INVALID_OBJ_NAME, wanted);
  } else {
    for (int32_t i = 0; i < r.rows.size() && r.objrow < 0; i++)
      if (r.isfree[i]) r.objrow = i;
    if (r.objrow < 0) return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_NO_OBJECTIVE));
  }
  mps_log_using(r, r.rows.text(r.objrow), "objective");
  // The pool may move while the objective takes its name.
  vec<char> name(*r.t.sys);
  const char* text = r.rows.text(r.objrow);
  name.append(text, static_cast<int64_t>(std::strlen(text)) + 1);
  return mps_fail(r, put_objname(r.t, name.data()));
}

TVNrescodee read_rows(mps_reader& r) {
  const TVNrescodee bad = mps_each_line(r, mps_section::rows, [&](const mps_fields& f) { return read_row(r, f); });
  return bad ? bad : choose_objective(r);
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
  if (section > mps_section::rows && section != mps_section::sets && r.objrow < 0) return choose_objective(r);
  switch (section) {
  case mps_section::name: return read_name(r);
  case mps_section::objsense: return read_objsense(r);
  case mps_section::objname: return read_objname(r);
  case mps_section::rows: return read_rows(r);
  case mps_section::columns: return mps_read_columns(r);
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
  if (const TVNrescodee bad = TVN_putcfix(&r.t, r.fixedterm)) return bad;
  return r.keepfree ? TVN_RES_OK : remove_free_rows(r);
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
  terms.attach(*t.sys);
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
    if (r.stop != TVN_RES_OK) return r.stop;
    if (r.rm.filestate != sys_code::ok) return TVN_sysrestores(r.rm.filestate); // reported by TVN_readmps
    code = TVN_RES_ERR_END_OF_FILE;
    break;
  case mps_status::line:
  case mps_status::head:
  case mps_status::too_long: break;
  }
  const TVNrescodee failed = mps_fail(r, report(r.t, label, __LINE__, code, r.rm.badfield));
  if (status == mps_status::bad_field && r.rm.mode != mps_mode::free)
    echo(r.t, TVN_STREAM_ERR, "Files in free form have the extension 'fmps', or TVN_IPAR_READ_MPS_FORMAT says so.\n");
  return failed;
}

TVNrescodee mps_bad_name(mps_reader& r, TVNrescodee code, std::string_view name) noexcept {
  return mps_fail(r, report(r.t, label, __LINE__, code, c_name(name).text));
}

TVNrescodee mps_find_row(mps_reader& r, std::string_view name, int32_t& i) noexcept {
  i = r.rows.find(name_key(name));
  return i >= 0 ? TVN_RES_OK : mps_bad_name(r, TVN_RES_ERR_MPS_UNDEF_CON_NAME, name);
}

TVNrescodee mps_find_var(mps_reader& r, std::string_view name, int32_t& j) noexcept {
  j = r.cols.find(name_key(name));
  return j >= 0 ? TVN_RES_OK : mps_bad_name(r, TVN_RES_ERR_MPS_UNDEF_VAR_NAME, name);
}

void mps_log_using(mps_reader& r, std::string_view name, const char* what) noexcept {
  if (logs_files(r.t)) echo(r.t, TVN_STREAM_LOG, "Using '%s' as %s vector\n", c_name(name).text, what);
}

TVNrescodee TVN_readmps(task& t, int32_t mode, sysfile& file, const char* name) {
  rm_state rm;
  TVN_rm_make(rm, *t.sys, file, static_cast<mps_mode>(mode), TVNP_getintparam(t, TVN_IPAR_READ_MPS_QUOTED_NAMES) != 0,
              TVNP_getintparam(t, TVN_IPAR_READ_MPS_WIDTH));
  mps_reader r(t, rm);
  rm.handle = &r;
  rm.goeson = [](void* handle) {
    auto& reader = *static_cast<mps_reader*>(handle);
    reader.stop = TVN_tovanlog(&reader.t, TVN_CALLBACK_READ_ADD_VARS);
    return reader.stop == TVN_RES_OK;
  };
  TVNrescodee code = TVN_estimatesize(r);
  const bool filled = code == TVN_RES_OK && !rm.endless;
  if (filled) code = size_task(r);
  if (filled && code == TVN_RES_OK) {
    TVN_rm_rewind(rm);
    code = TVN_readmpsfile(r);
  }
  if (rm.endless)
    echo(t, TVN_STREAM_ERR, "Line %lld is longer than %lld characters.\n", static_cast<long long>(rm.linenumber + 1),
         static_cast<long long>(rm.maxline));
  // A damaged file is told as such, whatever its last line looked like.
  const TVNrescodee filecode = report_file(t, label, __LINE__, rm.filestate, name);
  return filecode ? filecode : code;
}

} // namespace tvn
