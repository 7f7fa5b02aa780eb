// The LP reader: sections of formulas become a draft, and that a task.
//
//   file     sense [label] expression [suchthat {row}] {bounds | general | binary} end
//   row      [label] [value relation] expression [relation value]     one relation at least
//   bound    name free | name relation value | value relation name [relation value]
//   general  {name}, binary likewise
//
// A row or bound without a label opens a line of its own. Other dialects go on behind a limit with what is here another
// row ("x >= 2 y", "a <= b <= c <= d"); so such a file is refused and does not become another problem.
#include "tovan/files/lp/tovanrlp.h"

#include "misc/numtext.h"
#include "tovan/files/lp/formula.h"
#include "tovan/files/text/textwrite.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <cmath>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanrlp";

struct lp_file {
  formula_reader& r;
  bool ours = false;     // the writer's own file
  vec<char> constant{};  // name of the variable that may be the constant of the objective
  bool dropsnew = false; // a variable that is first seen in the bounds is ignored
};

bool opens_line(const formula_reader& r) noexcept { return r.lx.tok.line > r.lx.lastline; }

// The word of the bounds, which is no label.
bool is_free_word(const formula_reader& r) noexcept { return !is_quoted(r.lx) && is_word(r.lx.tok.text, "free"); }

// ---- rows ----

bool starts_row(token_kind k) noexcept {
  return is_sign(k) || is_number(k) || is_name(k) || k == token_kind::label || k == token_kind::dclabel ||
         k == token_kind::lbracket || k == token_kind::kw_infinity;
}

TVNrescodee read_row(formula_reader& r) {
  const token& at = r.lx.tok;
  const bool ranged = at.kind == token_kind::dclabel, labelled = ranged || at.kind == token_kind::label;
  if (labelled && is_free_word(r)) return syntax_error(r);
  const int32_t i = draft_append_con(r.draft, labelled ? at.text : std::string_view{});
  if (i < 0) return name_error(r, TVN_RES_ERR_DUP_NAME, at.text);
  if (labelled) next_token(r.lx);
  const TVNrescodee bad = read_row_formula(r, i, {ranged, true, !ranged});
  log_progress(r);
  return bad;
}

TVNrescodee read_rows(formula_reader& r) {
  next_token(r.lx);
  for (bool first = true; starts_row(r.lx.tok.kind); first = false) {
    const bool labelled = r.lx.tok.kind == token_kind::label || r.lx.tok.kind == token_kind::dclabel;
    if (!first && !labelled && !opens_line(r)) return syntax_error(r);
    if (const TVNrescodee bad = read_row(r)) return bad;
  }
  return TVN_RES_OK;
}

// ---- bounds ----

// The variable of a bound; -1: it is new and new ones are ignored here.
TVNrescodee bound_variable(lp_file& f, int32_t& j) {
  formula_reader& r = f.r;
  if (!is_name(r.lx.tok.kind)) return syntax_error(r);
  j = r.draft.vars.find(r.lx.tok.text);
  if (j < 0 && f.dropsnew) {
    const c_name name(r.lx.tok.text);
    const TVNrescodee bad = fail_at(r, report(r.t, label, __LINE__, TVN_RES_WRN_LP_DROP_VARIABLE, name.text));
    next_token(r.lx);
    return bad;
  }
  if (const TVNrescodee bad = take_variable(r, j)) return bad;
  next_token(r.lx);
  return TVN_RES_OK;
}

// A relation and a value behind the variable.
TVNrescodee read_limit(formula_reader& r, stated_bounds& s) {
  const int32_t relation = relation_of(r.lx.tok.kind);
  double value = 0;
  next_token(r.lx);
  if (const TVNrescodee bad = read_value(r, value)) return bad;
  return s.state(relation, value) ? TVN_RES_OK : syntax_error(r);
}

TVNrescodee read_bound(lp_file& f) {
  formula_reader& r = f.r;
  stated_bounds s;
  int32_t j = -1;
  const bool front = !is_name(r.lx.tok.kind);
  if (front) {
    double value = 0;
    if (const TVNrescodee bad = read_value(r, value)) return bad;
    if (!is_relation(r.lx.tok.kind) || !s.state(-relation_of(r.lx.tok.kind), value)) return syntax_error(r);
    next_token(r.lx);
  }
  if (const TVNrescodee bad = bound_variable(f, j)) return bad;
  if (is_relation(r.lx.tok.kind)) {
    if (const TVNrescodee bad = read_limit(r, s)) return bad;
  } else if (!front) {
    if (r.lx.tok.kind != token_kind::string || !is_word(r.lx.tok.text, "free")) return syntax_error(r);
    s.haslower = s.hasupper = true;
    next_token(r.lx);
  }
  if (j >= 0) change_bound(r.draft.var[j], s, false);
  return TVN_RES_OK;
}

TVNrescodee read_bounds(lp_file& f) {
  formula_reader& r = f.r;
  next_token(r.lx);
  const auto starts = [](token_kind k) {
    return is_sign(k) || is_number(k) || is_name(k) || k == token_kind::kw_infinity;
  };
  for (bool first = true; starts(r.lx.tok.kind); first = false) {
    if (!first && !opens_line(r)) return syntax_error(r);
    if (const TVNrescodee bad = read_bound(f)) return bad;
  }
  return TVN_RES_OK;
}

// ---- integer variables ----

TVNrescodee read_integers(formula_reader& r, bool binary) {
  for (next_token(r.lx); is_name(r.lx.tok.kind); next_token(r.lx)) {
    bool isnew = false;
    const int32_t j = draft_take_var(r.draft, r.lx.tok.text, isnew);
    if (isnew && logs_files(r.t))
      echo(r.t, TVN_STREAM_LOG, "Line %lld: '%s' is a new variable.\n", static_cast<long long>(r.lx.tok.line),
           c_name(r.lx.tok.text).text);
    draft_var& v = r.draft.var[j];
    v.integer = true;
    if (!binary) continue;
    v.bk = TVN_BK_RA;
    v.bl = 0;
    v.bu = 1;
  }
  return TVN_RES_OK;
}

// ---- the file ----

// The comments at the top: whether the file is our own, and where it keeps the constant of the objective.
void read_top(lp_file& f) {
  lexer& lx = f.r.lx;
  more(lx);
  if (lx.text()[0] != '\\') return;
  f.ours = take_line(lx).starts_with(lp_first_line);
  const std::string_view usual = lp_constant_name;
  f.constant.append(usual.data(), static_cast<int64_t>(usual.size()));
  if (lx.at == lx.in.end) return;
  pass_line_end(lx);
  if (lx.text()[lx.at] != '\\') return;
  const std::string_view line = take_line(lx), head = lp_constant_line;
  if (!line.starts_with(head)) return;
  const std::string_view name = trim(line.substr(head.size()));
  f.constant.clear();
  f.constant.append(name.data(), static_cast<int64_t>(name.size()));
}

// The variable with the number j goes; it stands in no row and no quadratic term.
TVNrescodee remove_variable(task& t, problem_draft& d, int32_t gone) {
  draft_watch watch{t};
  draft_names names;
  names.make(*d.vars.table.sys);
  for (int32_t j = 0; j < d.vars.size(); j++) {
    if (j != gone) names.append(d.vars.text(j));
    if (const TVNrescodee stop = watch.spend(1)) return stop;
  }
  std::swap(names, d.vars);
  // The table looks texts up where its own record keeps them.
  d.vars.table.pool = &d.vars.pool;
  d.vars.table.offset = &d.vars.offset;
  std::move(d.var.begin() + gone + 1, d.var.end(), d.var.begin() + gone);
  d.var.pop_back();
  for (int32_t& j : d.sub) j -= j > gone;
  for (vec<qterm>* terms : {&d.qobj, &d.qcon})
    for (qterm& q : *terms) {
      q.i -= q.i > gone;
      q.j -= q.j > gone;
    }
  return TVN_RES_OK;
}

// In our own files the constant of the objective is a fixed variable.
TVNrescodee take_constant(lp_file& f) {
  problem_draft& d = f.r.draft;
  if (!f.ours || f.constant.empty()) return TVN_RES_OK;
  const int32_t j = d.vars.find({f.constant.data(), static_cast<size_t>(f.constant.size())});
  if (j < 0) return TVN_RES_OK;
  const draft_var v = d.var[j];
  const auto has = [&](const vec<qterm>& terms) {
    return std::any_of(terms.begin(), terms.end(), [j](const qterm& q) { return q.i == j || q.j == j; });
  };
  if (v.bl != v.bu || v.c != 1 || v.integer || v.last >= 0 || has(d.qobj) || has(d.qcon)) return TVN_RES_OK;
  d.cfix = v.bl;
  return remove_variable(f.r.t, d, j);
}

TVNrescodee read_objective(formula_reader& r) {
  next_token(r.lx);
  const token_kind sense = r.lx.tok.kind;
  if (sense != token_kind::kw_minimize && sense != token_kind::kw_maximize) return syntax_error(r);
  r.draft.objsense = sense == token_kind::kw_maximize ? TVN_OBJECTIVE_SENSE_MAXIMIZE : TVN_OBJECTIVE_SENSE_MINIMIZE;
  next_token(r.lx);
  const bool labelled = r.lx.tok.kind == token_kind::label;
  if (labelled && is_free_word(r)) return syntax_error(r);
  const std::string_view name = labelled ? r.lx.tok.text : "obj";
  r.draft.objname.append(name.data(), static_cast<int64_t>(name.size()));
  if (labelled) next_token(r.lx);
  return read_expression(r, -1);
}

TVNrescodee missing_end(formula_reader& r) {
  if (r.stop != TVN_RES_OK || r.lx.in.state != sys_code::ok) return syntax_error(r);
  const auto line = static_cast<int>(std::min<int64_t>(r.lx.tok.line, INT32_MAX));
  return fail_at(r, report(r.t, label, __LINE__, TVN_RES_ERR_READ_LP_MISSING_END_TAG, line));
}

TVNrescodee parse_file(lp_file& f) {
  formula_reader& r = f.r;
  read_top(f);
  TVNrescodee code = read_objective(r);
  if (!code && r.lx.tok.kind == token_kind::kw_suchthat) code = read_rows(r);
  while (!code) {
    switch (r.lx.tok.kind) {
    case token_kind::kw_bounds: code = read_bounds(f); break;
    case token_kind::kw_general: code = read_integers(r, false); break;
    case token_kind::kw_binary: code = read_integers(r, true); break;
    case token_kind::kw_end:
      next_token(r.lx); // a colon: a label, and what follows must not be left out
      return r.lx.tok.kind == token_kind::colon ? syntax_error(r) : TVN_RES_OK;
    case token_kind::end_of_file: return missing_end(r);
    default: return syntax_error(r);
    }
  }
  return code;
}

} // namespace

TVNrescodee TVN_readlpfile(task& t, sysfile& file, const char* name) {
  formula_reader r(t, file, lp_alphabet(), TVNP_getintparam(t, TVN_IPAR_READ_LP_QUOTED_NAMES) != 0);
  watch_input(r);
  lp_file f{r};
  f.constant.attach(*t.sys);
  f.dropsnew = TVNP_getintparam(t, TVN_IPAR_READ_LP_DROP_NEW_VARS_IN_BOU) != 0;
  TVNrescodee code = parse_file(f);
  if (!code) code = take_constant(f);
  const auto hint = [&t](int32_t param) { return std::max(int64_t{1}, int64_t{TVNP_getintparam(t, param)}); };
  const draft_hints hints = {hint(TVN_IPAR_READ_CON), hint(TVN_IPAR_READ_VAR), 0, hint(TVN_IPAR_READ_ANZ),
                             hint(TVN_IPAR_READ_QNZ)};
  const TVNrescodee entered = r.stop ? r.stop : commit_draft(t, r.draft, hints, r.lx.in.total);
  // A damaged file is told as such, whatever its last line looked like.
  const TVNrescodee filecode = report_file(t, label, __LINE__, r.lx.in.state, name);
  return filecode ? filecode : code ? code : entered;
}

} // namespace tvn
