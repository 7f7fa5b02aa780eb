// COLUMNS: the columns of A, one after the other, and integer markers.
//
// Rows are looked up in a table that for large files lies outside the cache, so a line waits for one turn: its slots
// are fetched while the line before it is settled and the next one is split. The text of a line that waits is a copy,
// because the next line may move the block. A column is gathered with a map from row to position, which a flush cleans
// by the column's own list, so a column costs its length. The objective row is a row like the others here: its
// coefficients go to c and, with it, to A.
#include "tovan/files/mps/tovanmps.h"

#include "tovan/data/data.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/names.h"
#include "tovan/task/report.h"

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanmpscol";
constexpr int64_t progress_step = 1000000; // entries of A between two progress lines

// A line whose entries are not yet looked up. The keys point into the text.
struct waiting_line {
  vec<char> text;
  int64_t linenumber = 0;
  int32_t numentries = 0;
  name_key rows[2];
  double values[2] = {};
};

struct column_state {
  int32_t var = -1;       // that is being gathered
  bool integer = false;   // inside an integer block
  int64_t numentries = 0; // in the file so far
  vec<char> name;         // of the variable
  vec<int32_t> sub;       // rows of the column
  vec<double> val;
  buffer<int32_t> position; // [rows] place in sub + 1, 0 for rows that the column does not have
  waiting_line waiting;

  explicit column_state(mps_reader& r) {
    sysenv& sys = *r.t.sys;
    name.attach(sys);
    sub.attach(sys);
    val.attach(sys);
    waiting.text.attach(sys);
    position.reset(sys, r.rows.size(), 0);
  }
};

void add_entry(mps_reader& r, column_state& s, int32_t i, double value) {
  if (value == 0) return;
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
}

// Looks up what waits. A fault is one of the line that waited, which becomes the present line again.
TVNrescodee settle(mps_reader& r, column_state& s) {
  waiting_line& w = s.waiting;
  for (int32_t k = 0; k < w.numentries; k++) {
    const int32_t i = r.rows.find(w.rows[k]);
    if (i < 0) {
      r.rm.line = {w.text.data(), static_cast<size_t>(w.text.size())};
      r.rm.linenumber = w.linenumber;
      return mps_bad_name(r, TVN_RES_ERR_MPS_UNDEF_CON_NAME, w.rows[k].name);
    }
    add_entry(r, s, i, w.values[k]);
  }
  w.numentries = 0;
  return TVN_RES_OK;
}

void let_wait(mps_reader& r, waiting_line& w, const mps_fields& f) {
  const std::string_view line = r.rm.line;
  w.text.clear();
  w.text.append(line.data(), static_cast<int64_t>(line.size()));
  w.linenumber = r.rm.linenumber;
  const auto add = [&](std::string_view name, double value) {
    if (name.empty() && value == 0) return;
    w.rows[w.numentries] = name_key(name);
    r.rows.prefetch(w.rows[w.numentries]);
    if (!name.empty()) w.rows[w.numentries].name = {w.text.data() + (name.data() - line.data()), name.size()};
    w.values[w.numentries++] = value;
  };
  add(f.name3, f.value4);
  add(f.name5, f.value6);
}

TVNrescodee flush_column(mps_reader& r, column_state& s) {
  if (s.var < 0) return TVN_RES_OK;
  TVNrescodee code = TVN_RES_OK;
  const int32_t objective = s.position[r.objrow];
  if (objective > 0) code = put_cj(r.t, s.var, s.val[objective - 1]);
  if (code == TVN_RES_OK) code = put_column(r.t, s.var, static_cast<int32_t>(s.sub.size()), s.sub.data(), s.val.data());
  for (const int32_t i : s.sub) s.position[i] = 0;
  s.sub.clear();
  s.val.clear();
  return mps_fail(r, code);
}

TVNrescodee start_column(mps_reader& r, column_state& s, std::string_view name) {
  if (name.empty()) return mps_bad_name(r, TVN_RES_ERR_MPS_NULL_VAR_NAME, name);
  const name_key key(name);
  r.cols.prefetch(key);
  if (const TVNrescodee bad = flush_column(r, s)) return bad;
  s.var = r.cols.insert(key);
  if (s.var < 0) return mps_bad_name(r, TVN_RES_ERR_MPS_SPLITTED_VAR, name);
  r.rm.dollarnames = r.rm.dollarnames || name[0] == '$';
  s.name.clear();
  s.name.append(name.data(), static_cast<int64_t>(name.size()));
  int32_t first = 0;
  TVNrescodee code = TVN_core_append(r.t, TVN_ACC_VAR, 1, &first);
  if (code == TVN_RES_OK) append_name(r.t, TVN_PI_VAR, s.var, name);
  if (code == TVN_RES_OK)
    code = s.integer ? put_bound(r.t, TVN_ACC_VAR, s.var, TVN_BK_RA, 0.0, 1.0)
                     : put_bound(r.t, TVN_ACC_VAR, s.var, TVN_BK_LO, 0.0, bound_infinity);
  if (code == TVN_RES_OK && s.integer && r.keepint) code = TVN_putvartype(&r.t, s.var, TVN_VAR_TYPE_INT);
  return mps_fail(r, code);
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

} // namespace

TVNrescodee mps_read_columns(mps_reader& r) {
  column_state s(r);
  const auto read_line = [&](const mps_fields& f) {
    if (const TVNrescodee bad = settle(r, s)) return bad;
    if (f.name3 == "'MARKER'") return read_marker(r, s, f.name5);
    if (s.var < 0 || f.name2 != std::string_view(s.name.data(), static_cast<size_t>(s.name.size())))
      if (const TVNrescodee bad = start_column(r, s, f.name2)) return bad;
    let_wait(r, s.waiting, f);
    return TVN_RES_OK;
  };
  const TVNrescodee bad = mps_each_line(r, mps_section::columns, read_line, [&] { return settle(r, s); });
  return bad ? bad : flush_column(r, s);
}

} // namespace tvn
