// Formulas as text. See formulawrite.h.
#include "tovan/files/lp/formulawrite.h"

#include "misc/numtext.h"
#include "tovan/data/data.h"
#include "tovan/task/log.h"
#include "tovan/task/names.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <charconv>
#include <cmath>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/formulawrite";

// Characters in front of which a backslash stands inside quotes.
int64_t count_escapes(const alphabet& letters, std::string_view name) noexcept {
  if (!letters.escapes) return 0;
  return std::count_if(name.begin(), name.end(), [&](char c) { return c == letters.quote || c == '\\'; });
}

// Coefficient and sign in front of what a term is about; the length of the text.
int32_t signed_coefficient(double value, char* to) noexcept {
  const double size = std::fabs(value);
  to[0] = ' ';
  to[1] = value < 0 ? '-' : '+';
  to[2] = ' ';
  if (size == 1) return 3;
  const int32_t len = 3 + put_shortest(to + 3, size);
  to[len] = ' ';
  return len + 1;
}

void count_term(formula_writer& w, int64_t length) {
  if (w.maxterms > 0 && w.numterms >= w.maxterms && w.out.column > 0) end_line(w);
  break_before(w, length);
  w.numterms++;
}

// " + q x ^ 2" or " + q x * y".
void put_qterm(formula_writer& w, double value, int32_t i, int32_t j) {
  char number[48];
  const auto len = static_cast<size_t>(signed_coefficient(value, number));
  written_name first, second;
  get_written_name(w, TVN_PI_VAR, i, first);
  if (i != j) get_written_name(w, TVN_PI_VAR, j, second);
  const int64_t rest = i == j ? 4 : 3 + written_length(w, second);
  count_term(w, static_cast<int64_t>(len) + written_length(w, first) + rest);
  put(w.out, {number, len});
  put_name(w, first);
  if (i == j) return put(w.out, " ^ 2");
  put(w.out, " * ");
  put_name(w, second);
}

} // namespace

formula_writer::formula_writer(task& t_, sysfile& file, int32_t callback, const alphabet& letters_, bool generic_)
    : out(t_, file, callback), t(t_), letters(letters_), generic(generic_), width(0), maxterms(0), quotedvar(*t_.sys) {
  if (generic) return;
  quotedvar.resize(t.prob.numvar);
  for (int32_t j = 0; j < t.prob.numvar && spend(*this, 1); j++)
    quotedvar[j] = !is_plain_name(letters, item_name(t, TVN_PI_VAR, j));
}

bool spend(formula_writer& w, int64_t steps) noexcept {
  constexpr int64_t step = 1 << 18; // steps that miss the cache take some 25 ms
  w.spent += steps + 1;
  if (w.spent >= step && w.out.code == TVN_RES_OK) {
    w.spent = 0;
    w.out.code = call_callbacks(w.t, w.out.callback);
  }
  return is_going(w.out);
}

void get_written_name(const formula_writer& w, int32_t item, int32_t i, written_name& name) noexcept {
  name.quoted = false;
  if (w.generic) {
    name.generic[0] = item == TVN_PI_VAR ? 'x' : item == TVN_PI_CON ? 'c' : 'k';
    const int64_t number = int64_t{i} + TVNP_getintparam(w.t, TVN_IPAR_WRITE_GENERIC_NAMES_IO);
    const auto r = std::to_chars(name.generic + 1, name.generic + sizeof name.generic, number);
    name.text = {name.generic, static_cast<size_t>(r.ptr - name.generic)};
    return;
  }
  name.text = item_name(w.t, item, i);
  name.quoted = item == TVN_PI_VAR ? w.quotedvar[i] != 0 : !is_plain_name(w.letters, name.text);
}

void put_name(formula_writer& w, const written_name& name) {
  if (!name.quoted) return put(w.out, name.text);
  const char quote = w.letters.quote;
  put(w.out, {&quote, 1});
  if (count_escapes(w.letters, name.text) == 0) {
    put(w.out, name.text);
  } else {
    for (const char& c : name.text) {
      if (c == quote || c == '\\') put(w.out, "\\");
      put(w.out, {&c, 1});
    }
  }
  put(w.out, {&quote, 1});
}

int64_t written_length(const formula_writer& w, const written_name& name) noexcept {
  return static_cast<int64_t>(name.text.size()) + (name.quoted ? 2 + count_escapes(w.letters, name.text) : 0);
}

void put_item(formula_writer& w, int32_t item, int32_t i) {
  written_name name;
  get_written_name(w, item, i, name);
  put_name(w, name);
}

void end_line(formula_writer& w, std::string_view text) {
  put_end(w.out, text);
  w.numterms = 0;
}

void break_before(formula_writer& w, int64_t length) {
  if (w.width > 0 && w.out.column > 0 && w.out.column + length > w.width) end_line(w);
}

void put_piece(formula_writer& w, std::string_view text) {
  break_before(w, static_cast<int64_t>(text.size()));
  put(w.out, text);
}

void put_value(formula_writer& w, std::string_view before, double value) {
  char number[48];
  const int32_t len = put_shortest(number, value);
  break_before(w, static_cast<int64_t>(before.size()) + len);
  put(w.out, before);
  put(w.out, {number, static_cast<size_t>(len)});
}

void put_term(formula_writer& w, double value, int32_t j) {
  char number[48];
  const auto len = static_cast<size_t>(signed_coefficient(value, number));
  written_name name;
  get_written_name(w, TVN_PI_VAR, j, name);
  count_term(w, static_cast<int64_t>(len) + written_length(w, name));
  put(w.out, {number, len});
  put_name(w, name);
}

void put_quadratic(formula_writer& w, int64_t begin, int64_t end) {
  const qterms& q = w.t.prob.q;
  const bool none = std::all_of(q.val.data() + begin, q.val.data() + end, [](double v) { return v == 0; });
  if (begin >= end || none) return;
  put_piece(w, w.letters.lp ? " + [" : " + 0.5 (");
  for (int64_t k = begin; k < end && is_going(w.out); k++) {
    if (q.val[k] == 0) continue;
    // An element off the diagonal stands for two. What no double holds is written as a sum.
    const bool diagonal = q.subi[k] == q.subj[k], twice = !diagonal && !std::isfinite(2 * q.val[k]);
    for (int32_t copy = 0; copy <= int32_t{twice}; copy++)
      put_qterm(w, diagonal || twice ? q.val[k] : 2 * q.val[k], q.subj[k], q.subi[k]);
  }
  put_piece(w, w.letters.lp ? " ]/2" : " )");
}

void put_quadratic_of(formula_writer& w, int32_t row) {
  const qterms& q = w.t.prob.q;
  if (row < 0)
    put_quadratic(w, q.objbegin, q.objend);
  else if (!q.conbegin.empty())
    put_quadratic(w, q.conbegin[row], q.conend[row]);
}

bool copy_rows(formula_writer& w, row_copy& rows) {
  task& t = w.t;
  const lent_matrix lent(t);
  const sprmat_view& a = lent.a;
  const int32_t numcon = t.prob.numcon, numvar = t.prob.numvar;
  rows.begin.reset(*t.sys, numcon + 1, 0);
  for (int32_t j = 0; j < numvar; j++) {
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) rows.begin[a.sub[p]]++;
    if (!spend(w, a.ptre[j] - a.ptrb[j])) return false;
  }
  int64_t at = 0;
  for (int32_t i = 0; i <= numcon; i++) at += std::exchange(rows.begin[i], at);
  rows.sub.reset(*t.sys, at);
  rows.val.reset(*t.sys, at);
  for (int32_t j = 0; j < numvar; j++) {
    for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) {
      const int64_t to = rows.begin[a.sub[p]]++;
      rows.sub[to] = j;
      rows.val[to] = a.val[p];
    }
    if (!spend(w, a.ptre[j] - a.ptrb[j])) return false;
  }
  for (int32_t i = numcon; i > 0; i--) rows.begin[i] = rows.begin[i - 1];
  rows.begin[0] = 0;
  return true;
}

TVNrescodee check_costs(task& t) {
  for (int32_t j = 0; j < t.prob.numvar; j++)
    if (!std::isfinite(t.prob.c[j])) return report(t, label, __LINE__, TVN_RES_ERR_NAN_IN_DOUBLE_DATA, "c");
  return TVN_RES_OK;
}

} // namespace tvn
