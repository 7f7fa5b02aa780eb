// A problem as a formula file tells it: rows one after the other, columns as their names appear.
//
// Everything is gathered here and put into the task in one step at the end, when all sizes are known and the rows can
// be turned into columns by one count. Invariants: entries of a row are contiguous and name each variable once; a
// variable has an entry in every array of its side. Cost: linear in the text.
#pragma once

#include "tovan/data/data.h"
#include "tovan/files/text/filenames.h"

namespace tvn {

// Names with their texts, by number; an item may have none.
struct draft_names {
  name_table table;
  buffer<char> pool;
  buffer<int64_t> offset;
  int64_t used = 0; // of the pool

  void make(sysenv& sys);
  int32_t size() const noexcept { return table.size(); }
  const char* text(int32_t k) const noexcept { return table.text(k); }
  int32_t find(std::string_view name) const noexcept { return table.find(name_key(name)); }
  // The number of a new name, -1 when it is there already; an empty one is never found.
  int32_t append(std::string_view name);
  // The number of the name, new or not.
  int32_t take(std::string_view name, bool& isnew);

private:
  int32_t store(const name_key& key);
  void room(int64_t len);
};

// Looks at the user of a long loop without text to read.
struct draft_watch {
  task& t;
  int64_t spent = 0;
  TVNrescodee spend(int64_t steps) noexcept; // a stop by the user
};

struct draft_con {
  int32_t bk;
  double bl, bu;
  int64_t begin, qbegin; // of its entries and quadratic terms; the end is where those of the next row begin
};

struct draft_var {
  int32_t bk = TVN_BK_LO;
  bool integer = false;
  int32_t starred = 0; // bounds of all variables that it has taken
  double bl = 0, bu = bound_infinity, c = 0;
  int64_t last = -1; // position of the entry that the variable got last
};

struct draft_cone {
  int32_t type;
  int64_t begin; // of its members
};

struct draft_priority {
  int32_t j, priority, direction;
};

struct problem_draft {
  int32_t objsense = TVN_OBJECTIVE_SENSE_UNDEFINED;
  vec<char> objname;
  double cfix = 0;
  draft_names vars, cons, cones;
  draft_var defaults; // of the next new variable
  vec<draft_var> var;
  vec<draft_con> con;
  vec<int32_t> sub; // entries of the rows
  vec<double> val;
  vec<qterm> qobj, qcon; // by row
  vec<draft_cone> cone;
  vec<int32_t> members;
  vec<draft_priority> priorities;

  explicit problem_draft(sysenv& sys);
  void free_columns() noexcept;
};

int32_t draft_take_var(problem_draft& d, std::string_view name, bool& isnew);
// Row -1 when its name is taken. The row is free and its entries come next.
int32_t draft_append_con(problem_draft& d, std::string_view name);
// row -1: the objective; otherwise the last row. Repeated terms add up.
void draft_add(problem_draft& d, int32_t row, int32_t j, double value);

// What the caller knows of a file's size beforehand; a hint is cut to what the file can hold.
struct draft_hints {
  int64_t numcon = 0, numvar = 0, numcone = 0, numanz = 0, numqnz = 0;
};
// Puts all of it into the task, whose old data go; the draft's columns go as well.
TVNrescodee commit_draft(task& t, problem_draft& d, const draft_hints& hints, int64_t filesize);

// One side or both of a variable or row as a line states them. Infinite values take a bound away.
struct stated_bounds {
  bool haslower = false, hasupper = false, equal = false;
  double lower = -bound_infinity, upper = bound_infinity;

  // False for a side that was stated before, and for an infinite value on the wrong side. relation: < 0 the value is an
  // upper limit, > 0 a lower one, 0 both.
  bool state(int32_t relation, double value) noexcept;
};
// The bound that a row gets; ranged: equal limits stay two.
bound_value bound_of(const stated_bounds& s, bool ranged) noexcept;
// What is not stated stays.
void change_bound(draft_var& v, const stated_bounds& s, bool ranged) noexcept;

} // namespace tvn
