// The problem data of a task: what its files and the rest of the library call beside the exported functions.
//
// accmode is TVN_ACC_VAR or TVN_ACC_CON throughout. Every function here has a checked task; each returns a response
// code that has been reported, and throws out_of_memory with the problem whole.
#pragma once

#include "misc/spmat.h"
#include "tovan/task/task.h"

namespace tvn {

// Sizes.
TVNrescodee put_maxnumcon(task& t, int32_t n);
TVNrescodee put_maxnumvar(task& t, int32_t n);
TVNrescodee put_maxnumcone(task& t, int32_t n);
TVNrescodee put_maxnumanz(task& t, int64_t n);
TVNrescodee put_maxnumqnz(task& t, int64_t n);
TVNrescodee TVN_core_append(task& t, int32_t accmode, int32_t num, int32_t* first);
void log_expansion(task& t, const char* what, int64_t from, int64_t to);
void delete_task_data(task& t) noexcept;
TVNrescodee resize_task(task& t, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone, int64_t maxnumanz,
                        int64_t maxnumqnz);

// Objective.
TVNrescodee put_cj(task& t, int32_t j, double cj);
TVNrescodee TVN_checkobjectivesense(task& t);

// Bounds. The stored values count on the sides that the key has; put_bound warns, normalises and lowers statuses.
TVNrescodee put_bound(task& t, int32_t accmode, int32_t i, int32_t bk, double bl, double bu);

// A vector of a list lies in positions begin to end - 1 of its arrays; k: its place in the list, for the message.
TVNrescodee check_range(task& t, int32_t k, int64_t begin, int64_t end);

// A. get_a makes it on first need.
sprmat& get_a(task& t);
void watch_a(task& t) noexcept; // lets A count its work in the information items of the task
TVNrescodee sprmat_result(task& t, sprmat_code code);
TVNrescodee TVN_putavecintern(task& t, int32_t accmode, int32_t i, int64_t nzi, const int32_t* subi, const double* vali,
                              const char* argname, int64_t argbase, int64_t& numtiny);
TVNrescodee put_avec(task& t, int32_t accmode, int32_t i, int64_t nzi, const int32_t* subi, const double* vali);
// Column j by distinct rows in range: needs no dense scratch. sub and val [n].
TVNrescodee put_column(task& t, int32_t j, int32_t n, const int32_t* sub, const double* val);
TVNrescodee put_aij(task& t, int32_t i, int32_t j, double aij);
void TVN_commitachanges(task& t);
// Lends A by columns to an optimizer, with room for extracols more; nothing may change A until TVN_putadbg.
sprmat_view TVN_getacolwise(task& t, int32_t extracols);
void TVN_putadbg(const char* file, int line, task& t);
// The same, wrapped as compressed columns with numcon as the vector length; goes back by TVN_putadbg, too.
void TVN_getaspmat(task& t, int32_t extracols, spmat& a);
// A by columns for a scope. Whoever holds its pointers while functions of the user may run holds it like this: what
// they read by rows is refused meanwhile. Inside another loan it is a part of that.
struct lent_matrix {
  task& t;
  bool inner;
  sprmat_view a;
  explicit lent_matrix(task& t_);
  ~lent_matrix();
  lent_matrix(const lent_matrix&) = delete;
  lent_matrix& operator=(const lent_matrix&) = delete;
};
// Stops when the shape of A is not that of the problem; deep: or when an invariant of the store is broken.
void TVN_checkadbg(const char* file, int line, task& t, bool deep);

// Quadratic terms.
void TVN_chgqnz(task& t, int64_t target); // the pool packed into `target` entries, 0: none
void free_qterms(problem& p) noexcept;
struct qterm {
  int32_t i, j; // i >= j
  double val;
};
// Replaces the terms of the objective (k is -1) or of constraint k. Sorts the list and sums duplicates in place, so
// that a large one needs no second copy. Indices are in range.
TVNrescodee put_terms(task& t, int32_t k, vec<qterm>& terms);

// Cones.
TVNrescodee TVN_checkcone(task& t, int32_t firstindex, int32_t k, int32_t conetype, int32_t nummem,
                          const int32_t* submem);
TVNrescodee append_cone(task& t, int32_t conetype, double conepar, int32_t nummem, const int32_t* submem);
// Many at once, the room for them taken in one step; stops at the first that is refused. conetype, ptrb, ptre: [num];
// conepar: [num] or null for 0; submem: members of cone k in positions ptrb[k] to ptre[k] - 1.
TVNrescodee TVN_core_appendcones(task& t, int32_t num, const int32_t* conetype, const double* conepar,
                                 const int32_t* ptrb, const int32_t* ptre, const int32_t* submem);
void TVN_core_removecones(task& t, int32_t num, const int32_t* sub);
int32_t least_members(int32_t conetype) noexcept; // -1: no such type
// The members of all cones to the front of another pool, in cone order; their number.
int32_t pack_members(problem& p, buffer<int32_t>& members) noexcept;

// Whole problems.
TVNrescodee TVN_checkdata(task& t);

} // namespace tvn
