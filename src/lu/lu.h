// Sparse LU factorisation of a basis with Forrest-Tomlin update: what a caller sees.
//
// Column k of the factored matrix B is basis position k; rows are constraints. After TVN_lu_supd at position p, column
// p of B is the entering column. Solves: forward (ftran) B y = x takes x by row and gives y by position; backward
// (btran) B'y = x takes x by position and gives y by row.
//
// References: Markowitz 1957; Suhl and Suhl 1990 (singletons, threshold pivoting); Forrest and Tomlin 1972 and
// Suhl and Suhl 1993 (update with row etas); Gilbert and Peierls 1988 (sparse solves); Hager 1984
// (norm estimate).
#pragma once

#include "lu/lutypes.h"

namespace tvn {

// Life. Throws out_of_memory.
void TVN_lu_make(sysenv& sys, int32_t nrow, int32_t ncol, lu& f);
void TVN_lu_newwszedbg(lu& f, int64_t wsze);          // storage is freed and taken anew, state 0
void TVN_lu_newasze(lu& f, int64_t n, double factor); // grow only if wsze < factor * n
void TVN_lu_delete(lu& f);                            // gives the storage back
void TVN_lu_init(lu& f);                              // ready for a new factorisation, state 1
void TVN_lu_invfac(lu& f);                            // state 0
void TVN_lu_putnrow(lu& f, int32_t nrow);
void TVN_lu_putncol(lu& f, int32_t ncol);

// Settings.
void TVN_lu_puttol(lu& f, int32_t key, double value); // lu_tolerance
double TVN_lu_gettol(const lu& f, int32_t key);
void TVN_lu_puttrh(lu& f, int32_t key, int32_t value); // lu_threshold
void TVN_lu_putpivotmethod(lu& f, int32_t method);     // lu_pivotmethod
void TVN_lu_putdefaults(lu& f);
void TVN_lu_putdropl(lu& f, bool drop); // rank only: keep no L, no U
void TVN_lu_putdropu(lu& f, bool drop);
void TVN_lu_putmaxworkoftasks(lu& f, int64_t maxwork); // bound of search and elimination, negative: none
void TVN_lu_putgeta(lu& f, void* handle, lu_getcol getcol);
void TVN_lu_putprogressfunc(lu& f, void* handle, lu_progress fn);

// Input by elements, instead of a column function.
[[nodiscard]] lu_code TVN_lu_inaij(lu& f, int32_t row, int32_t col, double value);
[[nodiscard]] lu_code TVN_lu_inak(lu& f, int32_t col, int32_t n, const int32_t* sub, const double* val);
// Row sub[p] enters as rowmap[sub[p]]; one mapped to `limit` or beyond is left out.
[[nodiscard]] lu_code TVN_lu_inaj2(lu& f, int32_t col, int32_t n, const int32_t* sub, const double* val,
                                   const int32_t* rowmap, int32_t limit);

// Factor. Work sizes from TVN_lu_getfactorspace. done with rank < nrow means singular: see TVN_lu_insart.
void TVN_lu_getfactorspace(int32_t nrow, int32_t ncol, int64_t& isize, int64_t& rsize);
[[nodiscard]] lu_code TVN_lu_factor(lu& f, array_view<int32_t> iwork, array_view<double> rwork);
// Completes a rank-deficient factor: every column without pivot becomes value times a unit column; colmap[col] is the
// row of that unit, or nrow for columns that keep their own pivot.
[[nodiscard]] lu_code TVN_lu_insart(lu& f, array_view<int32_t> colmap, array_view<int32_t> iwork, double value);

// Facts of the last factor.
int32_t TVN_lu_getrank(const lu& f);
bool TVN_lu_incwsze(const lu& f); // the last attempt asked for more storage
int64_t TVN_lu_getwsze(const lu& f);
int64_t TVN_lu_getwszeproposal(const lu& f);
int32_t TVN_lu_getnumgc(const lu& f); // compressions since TVN_lu_init
void TVN_lu_getlusze(const lu& f, int64_t& lnz, int64_t& unz);
void TVN_lu_getuii(const lu& f, int32_t i, int32_t& col, double& value); // pivot of row i; col == ncol: none
void TVN_lu_getpivotinfo(const lu& f, int32_t& method, int64_t& lfill, int64_t& ufill);
void TVN_lu_getcond(const lu& f, double& mindiag, double& maxdiag);
void TVN_lu_getcond2(const lu& f, double& mindiag, double& maxdiag, double* maxl, double* maxu);

// Dense solves; x is destroyed. All solves require state 3.
void TVN_lu_ftran(lu& f, array_view<double> x, array_view<double> y);
void TVN_lu_btran(lu& f, array_view<double> x, array_view<double> y);
[[nodiscard]] lu_code TVN_lu_ftransafe(lu& f, array_view<double> x, array_view<double> y, double limit);

// Sparse solves. The result vector must be empty on entry; x is left empty (ftranl works in place).
void TVN_lu_ftranl(lu& f, spvec& x);                                              // L and row etas, x by row
void TVN_lu_ftranus(lu& f, spvec& x, spvec& y, double droptol1, double droptol2); // U, y by position
void TVN_lu_btrans(lu& f, spvec& x, spvec& y, double droptol1, double droptol2);  // x by position, y by row

// Update: column at `position` becomes the one whose ftranl result is `spike` (left as it is). done, refactor_advised:
// updated. unstable_update, no_update_room: refused; state 3 means that the old factor stands, state 0 that it is lost.
[[nodiscard]] lu_code TVN_lu_supd(lu& f, int32_t position, const spvec& spike);
bool TVN_lu_factornow(const lu& f);
int32_t TVN_lu_getnumupds(const lu& f);
// Sum of work units: factorisation (tasks 0 to 14), updates and solves (15 to 25) since the last factorisation began.
double TVN_lu_getfactorwork(const lu& f);
double TVN_lu_getupdatework(const lu& f);
void TVN_lu_gettotalwork(const lu& f, bigint& total); // all tasks since TVN_lu_make

// Estimate of the one-norm of the inverse (Hager 1984). rwork: 2 * nrow. With scales it is that of the inverse of A,
// where diag(rowscale) A diag(colscale) was factored; both empty: no scales.
[[nodiscard]] lu_code TVN_lu_onenormestimate(lu& f, double& estimate, array_view<double> rwork,
                                             array_view<const double> rowscale = {},
                                             array_view<const double> colscale = {});

} // namespace tvn
