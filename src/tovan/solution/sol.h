// Operations on the stored solutions of a task; the record and its layout stand in solution.h.
//
// A slot is absent, made (storage, flag off) or defined; with all capacities 0 a defined slot has no storage. Each
// change of the problem lowers the statuses by fixed rules and keeps the values, so that a later run can start from
// them. Functions on a slot take a valid number of it unless they check it.
#pragma once

#include "tovan/task/task.h"

namespace tvn {

// The blocks of one slot; those that the slot lacks are null. Lengths are the counts of their side.
struct sol_ptrs {
  int32_t *skc = nullptr, *skx = nullptr, *skn = nullptr;
  double *xc = nullptr, *xx = nullptr, *y = nullptr, *slc = nullptr, *suc = nullptr;
  double *slx = nullptr, *sux = nullptr, *snx = nullptr;
};

// An output that may be null.
template <class T> void put_out(T* out, T value) noexcept {
  if (out) *out = value;
}

// Slots. whichsol is valid.
TVNrescodee check_whichsol(task& t, int32_t whichsol);
TVNrescodee check_defined(task& t, int32_t whichsol); // valid and defined, else reported
bool TVN_solutiondef(const task& t, int32_t whichsol) noexcept;
sol_ptrs TVN_getsolptrs(task& t, int32_t whichsol);
// The same with the addresses of the statuses; each output may be null.
void TVN_getsolptrs(task& t, int32_t whichsol, int32_t** prosta, int32_t** solsta, int32_t** skc, int32_t** skx,
                    int32_t** skn, double** xc, double** xx, double** y, double** slc, double** suc, double** slx,
                    double** sux, double** snx);
void TVN_makesolution(task& t, int32_t whichsol);              // storage, the flag stays
void TVN_makesolutionstatusunknown(task& t, int32_t whichsol); // defined, all zero, solution status unknown
void resize_solutions(task& t, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone);
void delete_solutions(solution_store& s) noexcept;
void TVN_invalidallsol(task& t) noexcept;
// Entry first + k of a side becomes entry map[k], -1: it goes, for the last `count` entries. work, keywork: [count].
void remap_solutions(task& t, int32_t accmode, int32_t first, int32_t count, const int32_t* map, double* work,
                     int32_t* keywork) noexcept;

// Rules by which a change of the problem lowers the statuses of all defined slots.
void TVN_updsolstaftercchg(task& t) noexcept;
void TVN_updsolstafterachg(task& t, int32_t j) noexcept; // before the change
void TVN_updsolstafterappend(task& t, int32_t accmode, int32_t i) noexcept;
void TVN_updsolstafterbndchg(task& t, int32_t accmode, int32_t i, int32_t oldbk, double oldbl, double oldbu) noexcept;
void TVN_makestatusunknown(task& t) noexcept;

} // namespace tvn
