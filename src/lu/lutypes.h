// The factor object and its codes.
//
// B = L R^-1 U up to permutations: L as columns of multipliers in the order of elimination, R as row etas of the
// updates in the order of creation, U by rows and by columns with the diagonal apart. A row of U belongs to a row of B,
// a column of U to a column of B; rowpivcol and colpivrow pair them.
//
// Storage: the row store and the column store hold `wsze` elements each. Blocks of rows grow from 0 up to `urowfree`,
// blocks of columns up to `ucolfree`; L columns and etas grow from wsze down to `lubot` in the row store, and after a
// factorisation the column store holds L by rows in [lbegin, wsze). An element of U stands in both stores, and each
// copy knows the position of the other (rpos, cpos).
#pragma once

#include "cpub/bigint.h"
#include "misc/spvec.h"

namespace tvn {

enum class lu_code : int32_t {
  done = 0,
  no_memory = 9,
  short_int_work = 10,
  short_real_work = 11,
  no_storage = 12,
  unstable_update = 13,
  no_update_room = 14,
  not_factored = 15,
  bad_row = 16,
  growth_limit = 17,
  cond_gave_up = 18,
  stopped = 19,
  work_limit = 20,
  column_refused = 21,
  singular = 22,
  refactor_advised = 23,
  not_square = 25,
};

// Values of lu::state; only a factored object may be solved with or updated.
enum lu_state : int32_t { lu_unusable = 0, lu_initialised = 1, lu_factoring = 2, lu_factored = 3 };

// Tasks of the work accounting. 0 to 14 are factorisation, 15 to 25 updates and solves.
enum lu_task : int32_t {
  lt_input = 0,
  lt_transpose = 1,
  lt_colsingle = 4,
  lt_rowsingle = 5,
  lt_rowsingle2 = 6,
  lt_compress = 7,
  lt_lback = 8,
  lt_buildcol = 9,
  lt_garcol = 10,
  lt_finish = 11,
  lt_eliminate = 12,
  lt_search = 13,
  lt_queues = 14,
  lt_fsparse = 16, // forward solves along the search result
  lt_fdense = 17,  // forward solves by a full pass
  lt_bsparse = 18,
  lt_bdense = 19,
  lt_etas = 20,
  lt_updrow = 21,   // elimination of the leaving row of U
  lt_updstore = 22, // spike and eta into the storage
  lt_slacks = 28,
  lt_numtasks = 38,
};

// Column function: writes column j into sub/val (room for `space` entries), sets count; false: too little space.
using lu_getcol = bool (*)(void* handle, int64_t space, int32_t j, int32_t& count, int32_t* sub, double* val);
enum lu_event : int32_t { le_begin = 0, le_pivots = 2, le_end = 3 };
// Progress: a lu_event, with the pivots so far; nonzero return stops.
using lu_progress = int32_t (*)(void* handle, int32_t code, int32_t numpivots);

// Settings by key.
enum lu_tolerance : int32_t { tol_zero = 0, tol_abspivot = 1, tol_relpivot = 2, tol_kept = 3 }; // the last for callers
enum lu_threshold : int32_t { trh_refactor = 1 };                         // updates until a new factor, 0 automatic
enum lu_pivotmethod : int32_t { pivots_bycolumn = 1, pivots_byboth = 2 }; // where the relative tolerance is asked for

// Kinds of sparse solves, each with its own expectation of the result.
enum lu_kind : int32_t { lk_ftranl = 0, lk_ftranu = 1, lk_btranu = 2, lk_btranl = 3, lk_num = 4 };

// Pivot order. Positions below stpf are forward pivots, the last stpb backward pivots (row singletons).
struct lu_pivots {
  int32_t stpf = 0, stpb = 0;
  int32_t rank = 0;
  buffer<int32_t> prow, prowinv; // [maxnrow] position -> row and back
  buffer<int32_t> rowpivcol;     // [maxnrow] column pivoted on the row, ncol: none
  buffer<int32_t> colpivrow;     // [maxncol] row pivoted on the column, nrow: none
};

struct lu_store {
  int32_t wsze = 0;                   // elements per storage array
  int32_t lubot = 0;                  // lowest used position of the region of L and etas
  int32_t lbegin = 0;                 // lubot when the factorisation ended
  int32_t urowfree = 0, ucolfree = 0; // next free position of row blocks and column blocks
  int32_t anz = 0;                    // elements of the input
  int32_t unz = 0;                    // live elements of U beside the diagonal
  buffer<double> rval, cval;          // [wsze] values; cval holds none while factoring
  buffer<int32_t> rcol, crow;         // [wsze] column or row index
  buffer<int32_t> rpos, cpos;         // [wsze] place of the same element in the other store
  buffer<int32_t> rbeg, rlen, rcap;   // [maxnrow] row blocks
  buffer<int32_t> cbeg, clen, ccap;   // [maxncol] column blocks
  int32_t freerow[33] = {},
          freecol[33] = {}; // free blocks by logarithm of the size, linked through rpos and cpos; wsze: none
};

struct lu_lower {
  buffer<int32_t> beg, len;   // [maxnrow] L column of a pivot row, in rval/rcol
  buffer<int32_t> tbeg, tlen; // [maxnrow] L row of a row, in cval/crow; valid when factored
  buffer<int32_t> order;      // [maxnrow] pivot rows with a nonempty L column, in order of elimination
  int32_t num = 0;            // length of order
  buffer<int32_t> place;      // [maxnrow] place of a row in order, -1: its L column is empty; valid when factored
};

// Diagonal and order of U. Holes (-1) are left where an update took a row away and put it at the end.
struct lu_upper {
  buffer<double> diag;      // [maxnrow] by row
  buffer<int32_t> order;    // [2 * maxnrow + 64] rows of U from first to last
  buffer<int32_t> place;    // [maxnrow] place of a row in order
  buffer<int32_t> colplace; // [maxncol] place of the row that is pivoted on a column
  int32_t end = 0;          // length of order in use
};

struct lu_etas {
  int32_t numupds = 0, numetas = 0, maxetas = 0;
  buffer<int32_t> etabeg; // [maxetas + 1] eta k lies in [etabeg[k + 1], etabeg[k]) of rval/rcol
  buffer<int32_t> etarow; // [maxetas] row that eta k changes
};

struct lu_settings {
  double tolzero = 1e-13;                // at or below: dropped at input and in elimination
  double tolabspiv = 1e-8;               // smallest pivot
  double tolrelpiv = 0.01;               // threshold pivoting
  double tolkey3 = 1e-6;                 // kept for the caller
  double tolrelupd = 1e-14;              // relative test of the update pivot
  int32_t maxsearch = 5;                 // rows and columns examined once a candidate stands
  int32_t pivotmethod = pivots_bycolumn; // lu_pivotmethod
  int32_t refacfreq = 0;                 // updates until factornow, 0: by work
  int32_t maxgc = 4;                     // compressions per factorisation
  bool dropl = false, dropu = false;     // the caller wants rank only
  int64_t maxwork = -1;                  // bound of search and elimination, -1: none
  lu_getcol getcol = nullptr;
  void* getcolhandle = nullptr;
  lu_progress progress = nullptr;
  void* progresshandle = nullptr;
};

// Flags and counts of the run.
struct lu_run {
  bool factornow = false;                    // the update logic advises a refactorisation
  bool incwsze = false;                      // the last attempt asked for more storage
  bool runsdropl = false, runsdropu = false; // L, U are not kept in this run
  int64_t lcount = 0, ucount = 0;            // elements of L and U seen in this run, kept or not
  int32_t numgc = 0;                         // compressions since TVN_lu_init
  int32_t numtriangular = 0;                 // factorisations that needed no pivot search
  int32_t lastmethod = 0;                    // of the last complete factorisation
  int64_t lastlfill = 0, lastufill = 0;
  int64_t totalgc = 0, numbuildcol = 0, numrowresize = 0, numcolresize = 0;
  double sumcount = 0.0; // Markowitz counts of the pivots
};

// Work since TVN_lu_init, by task, and what the refactor rule keeps of it. The loops count in 64 bits; the life-long
// sum is folded together at each TVN_lu_init.
struct lu_account {
  int64_t work[lt_numtasks] = {};
  int64_t factorwork = 0;           // tasks 0 to 14 at the first update
  int64_t bestn = 0, besttotal = 0; // updates and total work where the average cost was least
  int64_t ring[50] = {};            // update work after each of the last 50 updates
  bigint formerwork;                // all tasks before the last TVN_lu_init
  double density[lk_num][2] = {};   // of the results of sparse solves, by kind, for short and long right-hand sides
};

// Clean between calls.
struct lu_scratch {
  buffer<int32_t> mark;        // [maxncol] 0
  buffer<uint64_t> agenda;     // bits 0: places of an order that a solve has still to visit
  buffer<double> ework;        // [maxncol] 0.0
  buffer<int32_t> stack, topo; // [maxncol] unset
  buffer<double> lwork;        // [maxncol] unset
};

struct lu {
  sysenv* sys = nullptr;
  int32_t nrow = 0, ncol = 0;       // active dimensions, nrow <= ncol
  int32_t maxnrow = 0, maxncol = 0; // dimensions at TVN_lu_make
  int32_t state = lu_unusable;      // lu_state
  lu_pivots piv;
  lu_store sto;
  lu_lower l;
  lu_upper u;
  lu_etas eta;
  lu_settings set;
  lu_run run;
  lu_account acc;
  lu_scratch tmp;
};

} // namespace tvn
