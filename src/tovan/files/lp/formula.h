// The reader of expressions that LP and OPF files share, and how a fault of such a file is told.
//
//   expression   [sign] term { sign term }            an empty one reads
//   term         [number] name | group | constant     a constant only where the caller allows it
//   group        LP  "[" quadratic "]" ["/" 2]        OPF  [number] "(" quadratic ")"
//   quadratic    [sign] qterm { sign qterm }          qterm  [number] name "^" 2 | [number] name "*" name
//
// A group stands for its terms times its factor, 1/2 or 1 in LP. The problem holds 0.5 x'Qx, so a term a x^2 under the
// factor f becomes Q_xx = 2 f a and a term a x*y becomes Q_xy = f a; with f = 1/2 both are exact, and so is the way
// back. Repeated terms add up. Each fault names the line and column of the token that no rule allows.
#pragma once

#include "tovan/files/lp/draft.h"
#include "tovan/files/lp/lextoken.h"
#include "tovan/task/task.h"

namespace tvn {

struct formula_reader {
  task& t;
  lexer lx;
  problem_draft draft;
  TVNrescodee stop = TVN_RES_OK; // what a callback wants
  bool fixednames = false;       // no new variable may appear
  bool constants = false;        // an expression may hold numbers alone
  int64_t progress = 0;          // entries at the last line of progress
  double starttime = 0;

  formula_reader(task& task_, sysfile& file, const alphabet& letters, bool takesquotes);
};

// Asks the user once a megabyte; to be called when the reader has its place in memory.
void watch_input(formula_reader& r) noexcept;

// The present token does not fit: the code of the format, or that of a cut file or a stop.
TVNrescodee syntax_error(formula_reader& r);
// Another fault at the present token, reported already: its line goes to the error stream.
TVNrescodee fail_at(formula_reader& r, TVNrescodee code);
TVNrescodee name_error(formula_reader& r, TVNrescodee code, std::string_view name);

inline bool is_name(token_kind k) noexcept { return k == token_kind::string || k == token_kind::qstring; }
inline bool is_number(token_kind k) noexcept { return k == token_kind::integer || k == token_kind::real; }
inline bool is_sign(token_kind k) noexcept { return k == token_kind::plus || k == token_kind::minus; }
inline bool is_relation(token_kind k) noexcept {
  return k == token_kind::eq || k == token_kind::le || k == token_kind::leq || k == token_kind::ge ||
         k == token_kind::geq;
}
// -1: what stands on the right is an upper limit, 1: a lower one, 0: both.
inline int32_t relation_of(token_kind k) noexcept {
  return k == token_kind::eq ? 0 : k == token_kind::le || k == token_kind::leq ? -1 : 1;
}

// The variable of the present token, a name, which is not yet passed.
TVNrescodee take_variable(formula_reader& r, int32_t& j);

// A sign and a number that were read before it was known that an expression begins with them.
struct expression_start {
  bool hassign = false, hasnumber = false;
  double sign = 1, number = 1;
};
// Reads sign, number or infinity in front of a row or bound; isvalue: a relation follows, so it is a limit, `value`.
TVNrescodee read_front(formula_reader& r, expression_start& start, bool& isvalue, double& value);
// A number or infinity with an optional sign.
TVNrescodee read_value(formula_reader& r, double& value);
// row -1: the objective; else the last row of the draft.
TVNrescodee read_expression(formula_reader& r, int32_t row, const expression_start& start = {});

struct row_rules {
  bool needsfront;   // a limit stands in front of the expression
  bool needslimit;   // on one side at least
  bool equalisfixed; // two limits that are equal are one value
};
// The limit in front, if there is one, the expression and the limit behind it: row i, the last one, gets its bound.
TVNrescodee read_row_formula(formula_reader& r, int32_t i, const row_rules& rules);

// The line of progress every million entries.
void log_progress(formula_reader& r);

} // namespace tvn
