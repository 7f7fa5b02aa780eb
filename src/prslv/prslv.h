// Presolve and postsolve of linear problems, with a quadratic objective and cones: what a driver sees.
//
// A context views the problem's vectors and edits them in place; the matrix is copied, by rows and by columns. Rows and
// columns are marked dead, never renumbered: a dead row has key free, a dead column key fixed, and neither contributes
// to what is left (the value of a fixed column has been moved into the row bounds and, with its share of the row costs,
// into the fixed term: the objective is the same at every depth). Each reduction
// pushes a record from which its effect on a solution is undone, newest first.
// Driver: make -> TVN_prslv_reduce -> solve the live problem -> TVN_prslv_postsolve(basis) -> TVN_prslv_unreduce.
//
// Always a minimisation of x'Qx/2 + c'x + cc'xc + cfix with xc = A x; reduced costs are c_j + (Qx)_j - a_j'y and
// cc_i + y_i.
// Sources: Brearley, Mitra and Williams 1975; Andersen and Andersen 1995; Gondzio 1997; Gould and Toint 2004 (Q);
// Achterberg and others 2020.
#pragma once

#include "cpub/bsto.h"
#include "cpub/buffer.h"
#include "misc/optdef.h"

#include <array>

namespace tvn {

// Where a column has a term that is not linear.
enum class prslv_term : int8_t {
  none = 0,
  objective = 1, // in Q: it may be bounded and fixed
  row = 2,       // in a quadratic row: left alone
  cone = 3,      // what becomes of it is the cone's to say
};

// The problem, with vectors that presolve may edit. Column j of A holds positions ptrb[j] .. ptre[j]-1.
struct prslv_problem {
  int32_t numcon = 0, numvar = 0;
  const int64_t *ptrb = nullptr, *ptre = nullptr;
  const int32_t* sub = nullptr;
  const double* val = nullptr;
  int32_t *bkc = nullptr, *bkx = nullptr;
  double *blc = nullptr, *buc = nullptr, *blx = nullptr, *bux = nullptr;
  double *c = nullptr, *cc = nullptr; // [numvar], [numcon]
  double cfix = 0;
  sym_view q; // of the objective
  cone_view cone;
  // Null: all linear, none integer. A row with a term that is not linear is left alone. Columns in q and in cones need
  // not be told.
  const char *conlin = nullptr, *varint = nullptr;
  const prslv_term* varterm = nullptr;
};

struct prslv_param {
  int32_t loglevel = 0;         // above 1: options and summary
  int32_t timing = 1;           // above 1: measure each task
  int32_t use = 1;              // 0: count only
  int32_t relax = 0;            // drop column bounds that rows imply: at a vertex free columns have nowhere to rest
  int32_t lindep = 1;           // linear dependency check
  int32_t eliminatortries = -1; // negative: no limit
  int32_t elimfill = 1;         // times the original nonzeros that the eliminator may fill
  double tolx = 1e-8;           // feasibility
  double tols = 1e-8;           // dual
  double tolaij = 1e-12;        // absolute drop
  double reldrop = 1e-12;       // relative drop: 1e-8 of a coefficient times a value of 1e6 shows in the user's row
  double tollindep = 1e-6;
  double pivlimit = 0.01;    // stability of a pivot relative to its row and column
  double growthlimit = 4.0;  // of the largest entry of a row by one elimination
  double sizelimit = 1e8;    // of any entry
  double fillfactor = 0.2;   // spare room for fill, times elimfill
  int32_t longline = 100;    // entries of rows and columns that are not looked through for each change
  int32_t lindepworklim = 1; // 0: none
  bool cliques = false;      // pivots add no entries and few to the cliques of A A': for an interior point
  bool keepprimal = false;   // every feasible point must survive: no dominated columns
  bool keepdual = false;     // no relaxing of bounds

  bool operator==(const prslv_param&) const = default;
};

// Reductions by record type.
enum prslv_type : int32_t {
  rt_conrelax = 1,
  rt_droplow = 2,
  rt_dropupp = 3,
  rt_consin = 4,
  rt_conforce = 5,
  rt_varfix = 6,
  rt_blkfix = 7, // by a forcing row: right only together with the record of the row
  rt_elimination = 8,
  rt_confixlow = 9,
  rt_confixupr = 10,
  rt_varfixlow = 11,
  rt_varfixupr = 12,
  rt_varrelaxlow = 13,
  rt_varrelaxupp = 14,
  rt_varrelaxboth = 15,
  rt_dupvar = 16,
  rt_varfixfree = 17,
  rt_dupcon = 18,
  rt_storebounds = 20,
  rt_storecosts = 21,
  rt_varforce = 23,
  rt_doubleton = 25,
  rt_varslack = 29,
  rt_initialvarfix = 30,
  rt_initialconsin = 31,
  rt_initialfreecon = 32,
  rt_coneapex = 33,   // head 0: all members 0
  rt_conemember = 34, // a member at 0 leaves
  rt_conesigns = 35,  // a cone of signs: of one member, or rotated and of two
  rt_conebound = 36,  // of quadratic cones with one member left: bounds
  rt_conehead = 37,   // whose head nothing holds: dropped
  rt_conerelax = 38,  // a bound of a member that the cone implies
  rt_limit = 39,
};

enum prslv_status : int32_t { prs_undecided = 0, prs_solved = 1, prs_prim_infeas = 2, prs_dual_infeas = 3 };

// What a step answers: go on; no room for fill (compact and try again); the user or the clock says stop.
enum class prslv_code : int32_t { ok = 0, nospace = 1, stopped = 2 };

struct prslv_bndcount {
  int32_t fixed = 0, ranged = 0, lower = 0, upper = 0, free = 0;
};

enum prslv_task : int32_t {
  task_setup,
  task_checkpro,
  task_elim,
  task_lindep,
  task_dupcon,
  task_dupvar,
  task_finalize,
  task_post,
  task_domvar,
  task_relax,
  task_limit,
};

struct prslv_stats {
  int32_t status = prs_undecided;
  prslv_bndcount conbefore, varbefore, conafter, varafter;
  int64_t nzbefore = 0, nzafter = 0;
  int32_t numconfree = 0, numvarfixed = 0;    // freed rows and fixed columns in all
  numbered<int64_t, rt_limit> numred{};       // records by type
  int64_t numdupdropped = 0;                  // duplicate rows that went
  int32_t numelimtries = 0, numelimspace = 0; // passes of the eliminator, and those ended by lack of room
  int32_t numdualfixed = 0, numdualtight = 0; // columns and rows decided through column bounds that rows imply
  int32_t numlindep = 0, numlindeptries = 0;  // dependent rows removed
  bool lindeptruncated = false, outofspace = false;
  int32_t numrounds = 0, numpostsolves = 0;
  numbered<double, task_limit> seconds{};
  numbered<int32_t, task_limit> calls{};
  double totalseconds = 0;
};

enum prslv_event : int32_t { prslv_begin = 31, prslv_busy = 38, prslv_end = 39 }; // busy: before and within long steps

// Called with a prslv_event; with prslv_busy every few ten thousand entries, for the clock is that of the run_watch
// behind it. Nonzero stops presolve.
struct prslv_progress {
  void* handle = nullptr;
  int32_t (*fn)(void* handle, int32_t code) = nullptr;
};

struct prslv_context;

// Called before each reduction (undo false: the problem still as it was) and after each undo. For tests and audits.
struct prslv_audit {
  void* handle = nullptr;
  void (*fn)(void* handle, const prslv_context& ctx, bool undo, int32_t rtype, const solution_view* sol) = nullptr;
};

struct prslv_sink {
  void* handle = nullptr;
  void (*fn)(void* handle, const char* line) = nullptr;
};

void TVN_prslv_initparam(prslv_param& param);

// Takes views of the vectors and of the matrix, which must outlive the context; TVN_prslv_reduce copies the matrix.
// Throws out_of_memory, as all functions here may.
prslv_context* TVN_prslv_make(sysenv& sys, const prslv_problem& problem);
void TVN_prslv_delete(prslv_context* ctx) noexcept;
void TVN_prslv_putaudit(prslv_context& ctx, const prslv_audit& audit);
void TVN_prslv_putsink(prslv_context& ctx, const prslv_sink& sink);

// Reduces. On an infeasibility the certificate of the live problem is kept for TVN_prslv_getcertificate. After a stop
// only TVN_prslv_unreduce and TVN_prslv_delete make sense.
prslv_code TVN_prslv_reduce(prslv_context& ctx, const prslv_param& param, prslv_stats& stats,
                            const prslv_progress& progress);
const prslv_problem& TVN_prslv_getproblem(const prslv_context& ctx); // cfix lives here
bool TVN_prslv_conislive(const prslv_context& ctx, int32_t i);
bool TVN_prslv_varislive(const prslv_context& ctx, int32_t j);
int64_t TVN_prslv_getnz(const prslv_context& ctx);      // live entries
cone_view TVN_prslv_getcones(const prslv_context& ctx); // what is left of them: a dead one has no members
int32_t TVN_prslv_getnumred(const prslv_context& ctx);
// Live entries of row i or column j into sub and val, which have room for all rows or columns; the number.
int32_t TVN_prslv_getasimple(const prslv_context& ctx, bool byrow, int32_t index, int32_t* sub, double* val);
// The certificate of an infeasibility that presolve found, for the live problem; the other arrays become 0.
void TVN_prslv_getcertificate(const prslv_context& ctx, solution_view& sol);

// Gives back the matrix and all scratch: postsolve and unreduce need the records and vectors only.
void TVN_prslv_keeprecords(prslv_context& ctx) noexcept;

// Which right-hand sides an undo uses: all, or none for a certificate.
enum class prslv_walk { interior, basis, prim_certificate, dual_certificate };

// Carries a solution of the live problem back to the original one; live items of sol must be set. May run repeatedly.
// postsolvebasis keeps the number of basic items right: one more for each row restored. After a stop sol is of no use.
prslv_code TVN_prslv_postsolve(prslv_context& ctx, prslv_stats& stats, int32_t solsta, solution_view& sol,
                               const prslv_progress& progress = {});
prslv_code TVN_prslv_postsolvebasis(prslv_context& ctx, prslv_stats& stats, int32_t solsta, solution_view& sol,
                                    const prslv_progress& progress = {});
// Restores the vectors of the problem bit for bit. The context is of no use afterwards.
void TVN_prslv_unreduce(prslv_context& ctx);

} // namespace tvn
