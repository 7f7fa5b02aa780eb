// Expressions. See formula.h for the grammar.
#include "tovan/files/lp/formula.h"

#include "tovan/files/text/textwrite.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <cmath>
#include <limits>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/formula";
constexpr int64_t progress_step = 1000000;

token_kind open_bracket(const formula_reader& r) noexcept {
  return r.lx.letters->lp ? token_kind::lbracket : token_kind::lparen;
}
token_kind close_bracket(const formula_reader& r) noexcept {
  return r.lx.letters->lp ? token_kind::rbracket : token_kind::rparen;
}

// The integer 2, which is then passed.
bool takes_two(formula_reader& r) {
  if (r.lx.tok.kind != token_kind::integer || r.lx.tok.value != 2) return false;
  next_token(r.lx);
  return true;
}

// A sign that is passed; false when none stands there.
bool takes_sign(formula_reader& r, double& sign) {
  if (!is_sign(r.lx.tok.kind)) return false;
  sign = r.lx.tok.kind == token_kind::minus ? -1 : 1;
  next_token(r.lx);
  return true;
}

bool takes_number(formula_reader& r, double& value) {
  if (!is_number(r.lx.tok.kind) || !std::isfinite(r.lx.tok.value)) return false;
  value = r.lx.tok.value;
  next_token(r.lx);
  return true;
}

// name "^" 2 or name "*" name; the coefficient as it stands.
TVNrescodee read_qterm(formula_reader& r, double coefficient, vec<qterm>& terms) {
  int32_t i = 0, j = 0;
  if (!is_name(r.lx.tok.kind)) return syntax_error(r);
  if (const TVNrescodee bad = take_variable(r, i)) return bad;
  next_token(r.lx);
  if (r.lx.tok.kind == token_kind::hat) {
    next_token(r.lx);
    if (!takes_two(r)) return syntax_error(r);
    j = i;
  } else if (r.lx.tok.kind == token_kind::asterisk) {
    next_token(r.lx);
    if (!is_name(r.lx.tok.kind)) return syntax_error(r);
    if (const TVNrescodee bad = take_variable(r, j)) return bad;
    next_token(r.lx);
  } else {
    return syntax_error(r);
  }
  terms.push_back({std::max(i, j), std::min(i, j), coefficient});
  return TVN_RES_OK;
}

// What stands between the brackets, the opening one passed.
TVNrescodee read_qterms(formula_reader& r, vec<qterm>& terms) {
  for (bool first = true; r.lx.tok.kind != close_bracket(r); first = false) {
    double sign = 1, number = 1;
    if (!takes_sign(r, sign) && !first) return syntax_error(r);
    (void)takes_number(r, number);
    if (const TVNrescodee bad = read_qterm(r, sign * number, terms)) return bad;
  }
  next_token(r.lx);
  return TVN_RES_OK;
}

// The factor behind a group of an LP file.
TVNrescodee read_division(formula_reader& r, bool empty, double& factor) {
  if (r.lx.tok.kind == token_kind::divide) {
    next_token(r.lx);
    factor *= 0.5;
    return takes_two(r) ? TVN_RES_OK : syntax_error(r);
  }
  if (empty || r.lx.tok.kind == token_kind::end_of_file) return TVN_RES_OK;
  return report(r.t, label, __LINE__, TVN_RES_WRN_LP_OLD_QUAD_FORMAT);
}

TVNrescodee read_group(formula_reader& r, int32_t row, double factor) {
  vec<qterm>& terms = row < 0 ? r.draft.qobj : r.draft.qcon;
  const int64_t first = terms.size();
  next_token(r.lx);
  if (const TVNrescodee bad = read_qterms(r, terms)) return bad;
  if (r.lx.letters->lp)
    if (const TVNrescodee bad = read_division(r, terms.size() == first, factor)) return bad;
  for (int64_t p = first; p < terms.size(); p++) terms[p].val *= terms[p].i == terms[p].j ? 2 * factor : factor;
  return TVN_RES_OK;
}

// What a signed number belongs to: a name, a group, nothing.
TVNrescodee read_term(formula_reader& r, int32_t row, const expression_start& s) {
  const double coefficient = s.hasnumber ? s.sign * s.number : s.sign;
  if (is_name(r.lx.tok.kind)) {
    int32_t j = 0;
    if (const TVNrescodee bad = take_variable(r, j)) return bad;
    draft_add(r.draft, row, j, coefficient);
    next_token(r.lx);
    return TVN_RES_OK;
  }
  if (r.lx.tok.kind == open_bracket(r) && !(r.lx.letters->lp && s.hasnumber)) return read_group(r, row, coefficient);
  if (!s.hasnumber || !r.constants) return syntax_error(r);
  r.draft.cfix += coefficient;
  return std::isfinite(r.draft.cfix) ? TVN_RES_OK : syntax_error(r);
}

} // namespace

formula_reader::formula_reader(task& task_, sysfile& file, const alphabet& letters, bool takesquotes)
    : t(task_), draft(*task_.sys) {
  make_lexer(lx, *t.sys, file, letters, takesquotes);
  starttime = TVN_sysenv_gettime();
}

void watch_input(formula_reader& r) noexcept {
  r.lx.in.handle = &r;
  r.lx.in.goeson = [](void* handle) {
    auto& reader = *static_cast<formula_reader*>(handle);
    reader.stop = call_callbacks(reader.t, TVN_CALLBACK_READ_ADD_ANZ);
    return reader.stop == TVN_RES_OK;
  };
}

TVNrescodee fail_at(formula_reader& r, TVNrescodee code) {
  if (code == TVN_RES_OK) return code;
  const c_name line(present_line(r.lx));
  echo(r.t, TVN_STREAM_ERR, "The error occured at line(%lld):\n", static_cast<long long>(r.lx.tok.line));
  echo(r.t, TVN_STREAM_ERR, "%s\n", line.text);
  return code;
}

TVNrescodee syntax_error(formula_reader& r) {
  if (r.stop != TVN_RES_OK) return r.stop;
  if (r.lx.in.state != sys_code::ok) return TVN_sysrestores(r.lx.in.state); // reported when the reader ends
  const auto cut = [](int64_t k) { return static_cast<int>(std::min<int64_t>(k, std::numeric_limits<int>::max())); };
  const token& at = r.lx.tok;
  if (r.lx.letters->lp)
    return fail_at(r, report(r.t, label, __LINE__, TVN_RES_ERR_LP_FILE_FORMAT, cut(at.line), cut(at.column)));
  if (at.kind == token_kind::end_of_file)
    return fail_at(r, report(r.t, label, __LINE__, TVN_RES_ERR_OPF_PREMATURE_EOF));
  return fail_at(r, report(r.t, label, __LINE__, TVN_RES_ERR_OPF_FORMAT, cut(at.line)));
}

TVNrescodee name_error(formula_reader& r, TVNrescodee code, std::string_view name) {
  const c_name text(name);
  return fail_at(r, report(r.t, label, __LINE__, code, text.text, "constraint"));
}

TVNrescodee take_variable(formula_reader& r, int32_t& j) {
  bool isnew = false;
  if (r.fixednames) {
    j = r.draft.vars.find(r.lx.tok.text);
    return j >= 0 ? TVN_RES_OK : name_error(r, TVN_RES_ERR_OPF_NEW_VARIABLE, r.lx.tok.text);
  }
  j = draft_take_var(r.draft, r.lx.tok.text, isnew);
  return TVN_RES_OK;
}

TVNrescodee read_value(formula_reader& r, double& value) {
  double sign = 1;
  (void)takes_sign(r, sign);
  if (r.lx.tok.kind == token_kind::kw_infinity)
    value = std::numeric_limits<double>::infinity();
  else if (is_number(r.lx.tok.kind))
    value = r.lx.tok.value;
  else
    return syntax_error(r);
  value *= sign;
  next_token(r.lx);
  return TVN_RES_OK;
}

TVNrescodee read_front(formula_reader& r, expression_start& start, bool& isvalue, double& value) {
  isvalue = false;
  start.hassign = takes_sign(r, start.sign);
  const bool infinite = r.lx.tok.kind == token_kind::kw_infinity;
  if (!infinite && !is_number(r.lx.tok.kind)) return TVN_RES_OK;
  start.hasnumber = true;
  start.number = infinite ? std::numeric_limits<double>::infinity() : r.lx.tok.value;
  next_token(r.lx);
  isvalue = is_relation(r.lx.tok.kind);
  value = start.sign * start.number;
  return isvalue || std::isfinite(value) ? TVN_RES_OK : syntax_error(r);
}

TVNrescodee read_expression(formula_reader& r, int32_t row, const expression_start& start) {
  expression_start s = start;
  for (bool first = true;; first = false) {
    if (!s.hassign && !s.hasnumber) {
      s.hassign = takes_sign(r, s.sign);
      if (!s.hassign && !first) return TVN_RES_OK;
      s.hasnumber = takes_number(r, s.number);
    }
    const token_kind k = r.lx.tok.kind;
    const bool empty = !s.hassign && !s.hasnumber && !is_name(k) && k != open_bracket(r);
    if (empty) return TVN_RES_OK;
    if (const TVNrescodee bad = read_term(r, row, s)) return bad;
    s = {};
  }
}

TVNrescodee read_row_formula(formula_reader& r, int32_t i, const row_rules& rules) {
  stated_bounds s;
  expression_start start;
  bool isvalue = false;
  double value = 0;
  if (const TVNrescodee bad = read_front(r, start, isvalue, value)) return bad;
  if (isvalue) {
    if (!s.state(-relation_of(r.lx.tok.kind), value)) return syntax_error(r);
    next_token(r.lx);
    start = {};
  } else if (rules.needsfront) {
    return syntax_error(r);
  }
  if (const TVNrescodee bad = read_expression(r, i, start)) return bad;
  if (is_relation(r.lx.tok.kind)) {
    const int32_t relation = relation_of(r.lx.tok.kind);
    next_token(r.lx);
    if (const TVNrescodee bad = read_value(r, value)) return bad;
    if (!s.state(relation, value)) return syntax_error(r);
  } else if (!isvalue && rules.needslimit) {
    return syntax_error(r);
  }
  const bound_value b = bound_of(s, !rules.equalisfixed);
  draft_con& con = r.draft.con[i];
  con.bk = b.bk;
  con.bl = b.bl;
  con.bu = b.bu;
  return TVN_RES_OK;
}

void log_progress(formula_reader& r) {
  const int64_t num = r.draft.sub.size();
  if (num / progress_step == r.progress / progress_step) return;
  r.progress = num;
  if (logs_files(r.t))
    echo(r.t, TVN_STREAM_LOG, "Read %lld number of %s in %.2f seconds.\n", static_cast<long long>(num), "A nonzeros",
         TVN_sysenv_gettime() - r.starttime);
}

} // namespace tvn
