// The linear systems of an interior-point method, one pattern and many numbers:
//
//     [ H + Rp        A'    ] [ x ]   [ r ]
//     [   A      -(D + Rd)  ] [ y ] = [ s ]      H positive semidefinite, D >= 0 diagonal
//
// Analyse once (make, autosetup), then for each H and D factor once (numfac) and solve often (solve). A diagonal H may
// be eliminated: then A inv(H + Rp) A' + D + Rd is factored ("adat"), its long columns kept beside the factor where
// that is cheaper; else the whole, whose pivots have known signs in any order (Vanderbei 1995; "sqdt"). The choice goes
// by predicted seconds. Rp and Rd help the factor only: solves are refined to the system without them or with them, as
// the caller says. After autosetup nothing is allocated, but where a set of long columns has to be given up, and where
// it is tried again some factorisations later.
#pragma once

#include "kfac/adat.h"
#include "kfac/symschur.h"

namespace tvn {

enum class kktfac_code : int32_t {
  ok = 0,
  space = 1,   // more entries than filltrh allows; exhausted memory is thrown
  failed = 2,  // a NaN or an infinite number in the data or the result, too many terms, or nothing set up or factored
  stopped = 7, // by the progress function
};

enum class kkt_form : int32_t { free = 0, adat = 1, sqdt = 2 };

// Off-diagonal entries of H by columns, each pair once.
struct kkt_quadratic {
  const int64_t *beg = nullptr, *end = nullptr; // [numcol] null: H is diagonal
  const int32_t* sub = nullptr;
};

struct kktfac_params {
  kkt_form ktpe = kkt_form::free; // adat needs a diagonal H
  sorder_method ordtpe = sorder_method::free;
  int32_t densecol = 40;     // least length of a column that may be kept apart, at least 20; 0: none is
  double tolpiv = 1e-15;     // of a matrix with unit diagonal: smaller pivots are replaced
  double filltrh = 4e9;      // most entries of a pattern or factor
  int32_t maxrefine = 3;     // steps of refinement of a solve
  double tolrefine = 4e-15;  // residual, relative to its largest term, that needs none
  double tolkrylov = 1e-13;  // above it corrections are combined
  bool definite = false;     // H is well conditioned though it has entries beside its diagonal
  bool useprecision = false; // residuals in long double: the last digits of x and y, at several times the cost
  matker_isa isa = matker_isa::avx512; // best instruction set of the kernels
  int32_t numthr = 1;                  // threads of a factorisation, with the same bits
  int32_t maxlow = 0;                  // rank-one terms of H
  int32_t maxrhs = 1;                  // right sides that are solved at once, up to micro_wide; room for each
  sfk_progress progress;
};

// Numbers of a factorisation. Null stands for zeros. They are copied, and so may go afterwards; A's values are read.
struct kktfac_numbers {
  // H + Rp below 1e-30 counts as 1e-30, so that its inverse is finite.
  const double *h = nullptr, *rp = nullptr; // [numcol] infinity fixes x at 0
  const double *d = nullptr, *rd = nullptr; // [numrow]
  const double* hoff = nullptr;             // by place in the pattern of H
  int32_t numlow = 0;                       // terms sigma v v' of H, which keep it positive semidefinite
  const double* low = nullptr;              // [numlow * numcol] v after v
  const double* sigma = nullptr;            // [numlow]
};

enum class kkt_target : int32_t { exact = 0, regularised = 1 }; // without Rp and Rd; with them

struct kktfac_info {
  // Of the analysis.
  kkt_form form = kkt_form::free;
  int32_t numdense = 0;                            // columns kept apart
  int32_t numtries = 0;                            // sets of columns and forms that were ordered to find the cheapest
  bool partitioned = false;                        // the order comes from a partition
  bool broughtin = false;                          // columns are not apart, because the residuals forbade it
  int64_t nnzpattern = 0;                          // strict triangle of the matrix that is factored
  int64_t nnzl = 0;                                // of its factor with the diagonal
  double fflops = 0, adaflops = 0, schurflops = 0; // a factorisation, forming the matrix, columns beside the factor
  double seconds = 0;                              // predicted of a factorisation with its solves
  double ordertime = 0, setuptime = 0;             // measured
  // Of the factorisations and solves so far.
  int64_t numfac = 0, numsolve = 0, numrefine = 0;
  double formtime = 0, factime = 0, schurtime = 0, solvetime = 0;
  // Of the last ones.
  int32_t numrepair = 0;                        // pivots replaced
  int32_t numtaken = 0;                         // of them taken out again by the Schur part
  int32_t numdropped = 0;                       // of them left in: dependent rows
  int64_t positive = 0, negative = 0, zero = 0; // inertia of the whole matrix
  double residual = 0;                          // worst of the last solve, relative to its largest term
  bool inexact = false;                         // it is above tolkrylov: larger Rp and Rd, or no solution at all
};

constexpr int32_t kkt_directions = 6; // corrections that are combined at a time

// Vectors of a solve, [numcol + numrow] with columns first where nothing else is said.
struct kktfac_work {
  buffer<double> solution, best, rhs, remainder, correction; // maxrhs of them
  buffer<long double> residual, longsum;                     // long: of equations that have a slot
  buffer<double> shortsum;                                   // likewise, what is not in longsum yet
  buffer<double> basis, direction;                           // kkt_directions + 1 and kkt_directions of them
  buffer<double> position;                                   // [maxrhs * order of the factor]
  buffer<double> beside;                                     // [maxrhs * columns beside the factor]
  buffer<double> front;                                      // [TVN_sfk_worksize]
  buffer<double> terms;                                      // [3 * maxlow^2]
};

// The least D + Rd of the big system, after scaling: which of some floors (kktnum.cpp) is in use.
struct kkt_floor {
  int32_t level = 0;
  int32_t numtried = 0;  // others since the last factorisation that the caller wanted
  int32_t nummissed = 0; // factorisations in a row for which none was good enough
  int32_t pause = 0;     // factorisations until others are tried again
  bool used = false;     // some D + Rd is below it
};

// Long columns that went into the matrix because they had cost the digits of one factorisation.
struct kkt_broughtin {
  double seconds = 0;  // predicted of a factorisation without them
  int32_t pause = 0;   // factorisations with them, until they are apart again
  int32_t numleft = 0; // of these
};

// Stays where it is from autosetup on: its parts point at each other.
struct kktfac {
  sysenv* sys = nullptr;
  int32_t numrow = 0, numcol = 0;
  kktfac_params params;
  kkt_columns a;   // the caller's, until the last solve
  kkt_quadratic q; // likewise
  kktfac_info info;

  kkt_form form = kkt_form::free;
  int32_t n = 0;         // order of the factor: rows, or columns and rows
  buffer<int8_t> sign;   // [n] by node, of its pivot
  buffer<int32_t> dense; // [numdense] columns that are apart
  adat_columns ada;      // adat
  buffer<int64_t> place; // [numcol + 1] sqdt: of A's columns in the pattern; H's part follows them
  sfk_structure structure;
  sfk_factor factor;
  schur_part schur;

  buffer<double> h, hfac, invh;     // [numcol] H, H + Rp at least its floor, its inverse
  buffer<double> hoff;              // by place in the pattern of H
  int32_t numlow = 0, maxtaken = 0; // terms at hand; repairs for which the Schur part has room
  buffer<double> low, sigma; // [maxlow * numcol] [maxlow] for the factor: others than the caller's, of near that sum
  int32_t numgiven = 0;      // the caller's, for residuals
  buffer<double> lowgiven, sigmagiven;
  buffer<double> d, dfac;   // [numrow]
  kkt_floor floor;          // sqdt
  buffer<double> scale;     // [n] by node, powers of two
  buffer<double> added;     // [n] by position, what pivots were raised by
  buffer<int32_t> local;    // [numrow] work of the forming
  buffer<int32_t> longslot; // [numcol + numrow] of equations of many terms, else -1; empty: there is none
  double trust = 1e-6;      // residual of a trial solve up to which columns that are apart stay there
  kkt_broughtin broughtin;
  bool large = false;    // a pass over A takes a while
  bool stopped = false;  // by the user, between passes
  bool ready = false;    // set up; an analysis that was cut short leaves nothing to go on from
  bool factored = false; // likewise a factorisation
  kktfac_work work;
};

void TVN_kktfac_make(sysenv& sys, int32_t numrow, int32_t numcol, const kktfac_params& params, kktfac& k);
// Form, long columns, order, structure and all storage. Throws out_of_memory, and can then be called again.
[[nodiscard]] kktfac_code TVN_kktfac_autosetup(kktfac& k, const kkt_columns& a, const kkt_quadratic& q);
// The factor. Where columns that are apart spoil the residuals it sets up anew, and then allocates, as where they are
// put apart again; if that throws out_of_memory, autosetup comes first again.
[[nodiscard]] kktfac_code TVN_kktfac_numfac(kktfac& k, const kktfac_numbers& numbers);
// num right sides, x: [num * numcol], y: [num * numrow]; they become the solutions, those that are left when it is
// stopped excepted. Several at once differ from one at a time in rounding. ok tells of finite numbers only: see
// info.residual and info.inexact. May factor again, with another floor under D.
[[nodiscard]] kktfac_code TVN_kktfac_solve(kktfac& k, kkt_target target, int32_t num, double* x, double* y) noexcept;

// Of the last factorisation of the big system: the most negative pivot of a column, in a matrix with a diagonal near 1;
// 0 when there was none. H is not semidefinite where it is more than rounding.
double TVN_kktfac_wrongpivot(const kktfac& k) noexcept;

} // namespace tvn
