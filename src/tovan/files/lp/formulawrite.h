// What the LP and the OPF writer share: names as the alphabet wants them, terms on lines that end in time, and the rows
// of a task.
#pragma once

#include "misc/sprmat.h"
#include "tovan/files/lp/lextoken.h"
#include "tovan/files/text/textwrite.h"

namespace tvn {

struct formula_writer {
  text_output out;
  task& t;
  const alphabet& letters;
  bool generic;
  int64_t width;        // no line passes it where a break is possible, 0: no limit
  int32_t maxterms;     // of a line, 0: no limit
  int32_t numterms = 0; // of the present line
  vec<char> quotedvar;  // [numvar] 1: the name stands in quotes
  int64_t spent = 0;    // steps without text since the user was asked

  formula_writer(task& t_, sysfile& file, int32_t callback, const alphabet& letters_, bool generic_);
};

// Looks at the user of a long loop that writes no text; false: he stops.
bool spend(formula_writer& w, int64_t steps) noexcept;

// A name as it stands in a file: the text, and whether it is quoted.
struct written_name {
  std::string_view text;
  bool quoted = false;
  char generic[24];
};
// item: TVN_PI_*; empty for an item without a name.
void get_written_name(const formula_writer& w, int32_t item, int32_t i, written_name& name) noexcept;
void put_name(formula_writer& w, const written_name& name);
void put_item(formula_writer& w, int32_t item, int32_t i);
int64_t written_length(const formula_writer& w, const written_name& name) noexcept;

// The line ends when a piece of this length would pass the width.
void break_before(formula_writer& w, int64_t length);
// A piece of text that begins with a blank.
void put_piece(formula_writer& w, std::string_view text);
void put_value(formula_writer& w, std::string_view before, double value); // likewise
void end_line(formula_writer& w, std::string_view text = {});

// " + 2 x", " - x", " + 0 x".
void put_term(formula_writer& w, double value, int32_t j);
// The quadratic terms in positions [begin, end) of the pool: " + [ .. ]/2" or " + 0.5 ( .. )".
void put_quadratic(formula_writer& w, int64_t begin, int64_t end);
void put_quadratic_of(formula_writer& w, int32_t row); // -1: the objective

// A by rows, variables in order.
struct row_copy {
  buffer<int64_t> begin; // [numcon + 1]
  buffer<int32_t> sub;
  buffer<double> val;
};
bool copy_rows(formula_writer& w, row_copy& rows); // false: the user stops

// A cost that no file can hold is reported.
TVNrescodee check_costs(task& t);

} // namespace tvn
