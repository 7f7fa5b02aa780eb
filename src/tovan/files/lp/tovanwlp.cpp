// The LP writer: a file that reads back to the same problem, bit by bit and in the same order.
//
// A reader numbers variables as they appear. The objective therefore lists, with 0 where they cost nothing, all
// variables up to the last one that would otherwise appear before its turn; what comes behind appears in order in the
// rows and, where no row has it, in the bounds. The constant of the objective is written as a variable that is fixed.
#include "tovan/files/lp/tovanwlp.h"

#include "tovan/data/data.h"
#include "tovan/files/lp/formulawrite.h"
#include "tovan/files/lp/tovanrlp.h"
#include "tovan/tables/version.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/names.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <cmath>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanwlp";
constexpr int64_t never = INT64_MAX;

struct lp_writer {
  formula_writer f;
  row_copy rows{};
  buffer<int64_t> first{}; // [numvar] place of the first appearance behind the linear objective, `never` for none
  int32_t numlisted = 0;   // variables that the objective lists
  text constant{};         // name of the variable for the constant of the objective
  bool usualtaken = false; // a variable of the problem has its usual name
};

// ---- what cannot be written ----

bool ignores_items(const task& t) noexcept {
  return TVNP_getintparam(t, TVN_IPAR_LP_WRITE_IGNORE_INCOMPATIBLE_ITEMS) != 0;
}

TVNrescodee check_name(task& t, const char* name, TVNrescodee code) {
  if (*name == '\0' || is_plain_name(lp_alphabet(), name)) return TVN_RES_OK;
  const bool quotes = TVNP_getintparam(t, TVN_IPAR_WRITE_LP_QUOTED_NAMES) != 0;
  return quotes && !std::strchr(name, '"') ? TVN_RES_OK : report(t, label, __LINE__, code, name);
}

TVNrescodee check_names(task& t) {
  TVNrescodee code = check_name(t, objective_name(t), TVN_RES_ERR_LP_INVALID_CON_NAME);
  for (int32_t i = 0; i < t.prob.numcon && !code; i++)
    code = check_name(t, item_name(t, TVN_PI_CON, i), TVN_RES_ERR_LP_INVALID_CON_NAME);
  for (int32_t j = 0; j < t.prob.numvar && !code; j++)
    code = check_name(t, item_name(t, TVN_PI_VAR, j), TVN_RES_ERR_LP_INVALID_VAR_NAME);
  return code;
}

TVNrescodee check_rows(task& t) {
  if (TVNP_getintparam(t, TVN_IPAR_WRITE_LP_STRICT_FORMAT) == 0) return TVN_RES_OK;
  for (int32_t i = 0; i < t.prob.numcon; i++)
    if (t.prob.bkc[i] == TVN_BK_FR || t.prob.bkc[i] == TVN_BK_RA)
      return report(t, label, __LINE__, TVN_RES_ERR_WRITE_LP_FORMAT,
                    t.prob.bkc[i] == TVN_BK_FR ? "free constraints" : "ranged constraints");
  return TVN_RES_OK;
}

// ---- order of appearance ----

void see(lp_writer& w, int32_t j, int64_t& place) noexcept {
  if (w.first[j] == never) w.first[j] = place;
  place++;
}

void see_terms(lp_writer& w, int64_t begin, int64_t end, int64_t& place) noexcept {
  const qterms& q = w.f.t.prob.q;
  for (int64_t k = begin; k < end; k++) {
    if (q.val[k] == 0) continue;
    see(w, q.subj[k], place);
    see(w, q.subi[k], place);
  }
}

bool find_appearances(lp_writer& w) {
  const problem& p = w.f.t.prob;
  w.first.reset(*w.f.t.sys, p.numvar, never);
  int64_t place = 0;
  see_terms(w, p.q.objbegin, p.q.objend, place);
  for (int32_t i = 0; i < p.numcon; i++) {
    for (int64_t k = w.rows.begin[i]; k < w.rows.begin[i + 1]; k++) see(w, w.rows.sub[k], place);
    if (w.rows.begin[i] == w.rows.begin[i + 1] && p.numvar > 0) see(w, 0, place); // an empty row names a variable
    if (!p.q.conbegin.empty()) see_terms(w, p.q.conbegin[i], p.q.conend[i], place);
    if (!spend(w.f, w.rows.begin[i + 1] - w.rows.begin[i])) return false;
  }
  return true;
}

// Everything up to the last cost, and up to the last variable that one with a higher number would precede.
int32_t count_listed(const lp_writer& w) noexcept {
  const problem& p = w.f.t.prob;
  int64_t earliest = never; // of the variables behind j
  for (int32_t j = p.numvar - 1; j >= 0; j--) {
    if (p.c[j] != 0 || w.first[j] > earliest) return j + 1;
    earliest = std::min(earliest, w.first[j]);
  }
  return p.numvar > 0 ? 1 : 0; // an objective without a term is no formula to other readers
}

// ---- the constant of the objective ----

bool is_taken(lp_writer& w, const char* name) { return !w.f.generic && find_name(w.f.t, TVN_PI_VAR, name) >= 0; }

// The same for the usual name, by one look at each name: the table of names, which takes longer to make than the file
// to write, is seldom wanted.
bool is_usual_taken(lp_writer& w) {
  const problem& p = w.f.t.prob;
  bool taken = false;
  for (int32_t j = 0; !w.f.generic && j < p.numvar && !taken && spend(w.f, 1); j++)
    taken = std::string_view(item_name(w.f.t, TVN_PI_VAR, j)) == lp_constant_name;
  return taken;
}

TVNrescodee name_constant(lp_writer& w) {
  task& t = w.f.t;
  w.constant.assign(lp_constant_name);
  w.usualtaken = is_usual_taken(w);
  if (t.prob.cfix == 0 || !w.usualtaken) return TVN_RES_OK;
  constexpr int32_t tries = 1000;
  char name[TVN_MAX_STR_LEN + 16];
  for (int32_t k = 0; k < tries; k++) {
    const c_name stem(TVNP_getstrparam(t, TVN_SPAR_WRITE_LP_GEN_VAR_NAME));
    std::snprintf(name, sizeof name, k > 0 ? "%s%d" : "%s", stem.text, static_cast<int>(k));
    if (!is_plain_name(lp_alphabet(), name)) return report(t, label, __LINE__, TVN_RES_ERR_LP_INVALID_VAR_NAME, name);
    if (is_taken(w, name)) continue;
    w.constant.assign(name);
    return TVN_RES_OK;
  }
  return report(t, label, __LINE__, TVN_RES_ERR_WRITE_LP_NON_UNIQUE_NAME, name);
}

// The reader is told where the constant is not, or is under another name.
void write_top(lp_writer& w) {
  char line[80];
  std::snprintf(line, sizeof line, "%s %i.%i.%i.%i", lp_first_line, version_major, version_minor, version_build,
                version_revision);
  end_line(w.f, line);
  const bool usual = w.constant.view() == lp_constant_name, hasconstant = w.f.t.prob.cfix != 0;
  if (hasconstant ? usual : !w.usualtaken) return;
  put(w.f.out, lp_constant_line);
  put(w.f.out, " ");
  end_line(w.f, hasconstant ? w.constant.view() : std::string_view{});
}

// ---- sections ----

void put_label(lp_writer& w, const char* colons, int32_t i) {
  written_name name;
  get_written_name(w.f, TVN_PI_CON, i, name);
  if (name.text.empty()) return;
  put(w.f.out, " ");
  put_name(w.f, name);
  put(w.f.out, colons);
}

void write_objective(lp_writer& w) {
  const task& t = w.f.t;
  end_line(w.f, t.prob.objsense == TVN_OBJECTIVE_SENSE_MAXIMIZE ? "maximize" : "minimize");
  written_name name;
  name.text = w.f.generic || *objective_name(t) == '\0' ? "obj" : objective_name(t);
  name.quoted = !is_plain_name(lp_alphabet(), name.text);
  put(w.f.out, " ");
  put_name(w.f, name);
  put(w.f.out, ":");
  for (int32_t j = 0; j < w.numlisted && is_going(w.f.out); j++) put_term(w.f, t.prob.c[j], j);
  put_quadratic_of(w.f, -1);
  if (t.prob.cfix != 0) {
    put_piece(w.f, " + ");
    put(w.f.out, w.constant.view());
  }
  end_line(w.f);
}

void put_row_terms(lp_writer& w, int32_t i) {
  const task& t = w.f.t;
  const bool empty = w.rows.begin[i] == w.rows.begin[i + 1];
  if (empty && t.prob.numvar > 0) put_term(w.f, 0, 0);
  if (empty && t.prob.numvar == 0) put_piece(w.f, " [ ]/2"); // nothing else begins a row without a name
  for (int64_t k = w.rows.begin[i]; k < w.rows.begin[i + 1] && is_going(w.f.out); k++)
    put_term(w.f, w.rows.val[k], w.rows.sub[k]);
  put_quadratic_of(w.f, i);
}

void write_row(lp_writer& w, int32_t i) {
  const problem& p = w.f.t.prob;
  const int32_t bk = p.bkc[i];
  put_label(w, bk == TVN_BK_RA ? "::" : ":", i);
  if (bk == TVN_BK_RA) {
    put_value(w.f, " ", p.blc[i]);
    put_piece(w.f, " <=");
  }
  put_row_terms(w, i);
  switch (bk) {
  case TVN_BK_LO: put_value(w.f, " >= ", p.blc[i]); break;
  case TVN_BK_FX: put_value(w.f, " = ", p.blc[i]); break;
  case TVN_BK_FR: put_piece(w.f, " <= +infinity"); break;
  default: put_value(w.f, " <= ", p.buc[i]);
  }
  end_line(w.f);
}

void put_bound_name(lp_writer& w, int32_t j) {
  written_name name;
  get_written_name(w.f, TVN_PI_VAR, j, name);
  break_before(w.f, 1 + written_length(w.f, name));
  put(w.f.out, " ");
  put_name(w.f, name);
}

// "lower <= x <= upper"; an infinite side is a word.
void put_two_sides(lp_writer& w, int32_t j, bool lower, bool upper) {
  const problem& p = w.f.t.prob;
  if (lower)
    put_value(w.f, " ", p.blx[j]);
  else
    put_piece(w.f, " -infinity");
  put_piece(w.f, " <=");
  put_bound_name(w, j);
  put_piece(w.f, " <=");
  if (upper)
    put_value(w.f, " ", p.bkx[j] == TVN_BK_FX ? p.blx[j] : p.bux[j]);
  else
    put_piece(w.f, " +infinity");
  end_line(w.f);
}

void write_bound(lp_writer& w, int32_t j) {
  const problem& p = w.f.t.prob;
  const bool zero = p.blx[j] == 0 && !std::signbit(p.blx[j]), unseen = w.first[j] == never && j >= w.numlisted;
  switch (p.bkx[j]) {
  case TVN_BK_FR:
    put_bound_name(w, j);
    put_piece(w.f, " free");
    return end_line(w.f);
  case TVN_BK_LO:
    if (!zero || unseen) put_two_sides(w, j, true, false);
    return;
  case TVN_BK_RA:
    if (p.blx[j] != p.bux[j]) return put_two_sides(w, j, true, true);
    // Two equal limits on one line would be one value.
    put_two_sides(w, j, true, false);
    put_bound_name(w, j);
    put_value(w.f, " <= ", p.bux[j]);
    return end_line(w.f);
  default: put_two_sides(w, j, p.bkx[j] == TVN_BK_FX, true);
  }
}

void write_bounds(lp_writer& w) {
  end_line(w.f, "bounds");
  for (int32_t j = 0; j < w.f.t.prob.numvar && is_going(w.f.out); j++) write_bound(w, j);
  if (w.f.t.prob.cfix == 0) return;
  put_value(w.f, " ", w.f.t.prob.cfix);
  put_piece(w.f, " <= ");
  put(w.f.out, w.constant.view());
  put_value(w.f, " <= ", w.f.t.prob.cfix);
  end_line(w.f);
}

void write_integers(lp_writer& w) {
  const problem& p = w.f.t.prob;
  if (p.vartype.empty() || count_integers(p) == 0) return;
  end_line(w.f, "general");
  for (int32_t j = 0; j < p.numvar && is_going(w.f.out); j++) {
    if (p.vartype[j] != TVN_VAR_TYPE_INT) continue;
    if (w.f.maxterms > 0 && w.f.numterms >= w.f.maxterms) end_line(w.f);
    put_bound_name(w, j);
    w.f.numterms++;
  }
  end_line(w.f);
}

} // namespace

TVNrescodee check_lp_problem(task& t, bool generic) {
  if (has_nlfunc(t) && !ignores_items(t))
    return report(t, label, __LINE__, TVN_RES_ERR_LP_WRITE_GECO_PROBLEM, "TVN_PROBTYPE_GECO");
  if (t.prob.numcone > 0 && !ignores_items(t))
    return report(t, label, __LINE__, TVN_RES_ERR_LP_WRITE_CONIC_PROBLEM, "TVN_PROBTYPE_CONIC");
  if (t.prob.numvar == 0 && t.prob.numcon == 0) return report(t, label, __LINE__, TVN_RES_ERR_LP_EMPTY);
  if (const TVNrescodee bad = check_costs(t)) return bad;
  if (const TVNrescodee bad = check_rows(t)) return bad;
  return generic ? TVN_RES_OK : check_names(t);
}

TVNrescodee TVN_writelpfile(task& t, bool generic, sysfile& file, const char* filename) {
  lp_writer w{formula_writer(t, file, TVN_CALLBACK_BEGIN_WRITE, lp_alphabet(), generic)};
  w.constant.attach(*t.sys);
  w.f.width = TVNP_getintparam(t, TVN_IPAR_WRITE_LP_LINE_WIDTH);
  w.f.maxterms = TVNP_getintparam(t, TVN_IPAR_WRITE_LP_TERMS_PER_LINE);
  if (const TVNrescodee bad = name_constant(w)) return bad;
  if (t.prob.numcone > 0)
    echo(t, TVN_STREAM_WRN, "Warning: %d cones cannot be written to an LP file and are left out.\n",
         static_cast<int>(t.prob.numcone));
  if (!copy_rows(w.f, w.rows) || !find_appearances(w)) return w.f.out.code;
  w.numlisted = count_listed(w);
  write_top(w);
  write_objective(w);
  end_line(w.f, "subject to");
  for (int32_t i = 0; i < t.prob.numcon && is_going(w.f.out); i++) write_row(w, i);
  write_bounds(w);
  write_integers(w);
  end_line(w.f, "end");
  flush(w.f.out);
  return w.f.out.code ? w.f.out.code : report_file(t, label, __LINE__, w.f.out.state, filename);
}

} // namespace tvn
