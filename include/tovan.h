/* TOVAN 6.0: mathematical optimisation. The whole interface of libtovannoomp64.so.6.0, plain C99.
 *
 * A program makes one environment, makes tasks in it, fills a task with a problem through the put functions or from a
 * file, sets parameters, calls TVN_optimize or TVN_optimizetrm and reads the solution back.
 *
 * Rules that hold for every function unless its comment says otherwise:
 *  - it returns a response code: 0 is TVN_RES_OK, below 1000 a warning, 4000 and over a termination, others errors;
 *  - results leave through pointer arguments; indices start at 0; strings are UTF-8 and end with a zero byte;
 *  - a null or invalid handle gives TVN_RES_ERR_NULL_TASK, TVN_RES_ERR_INVALID_TASK, TVN_RES_ERR_NULL_ENV or
 *    TVN_RES_ERR_NO_INIT_ENV without a message, one of the other kind too; exhausted memory gives TVN_RES_ERR_SPACE;
 *  - a warning is seen on the warning stream and by the response function, which may make it a failure; the call goes
 *    on and returns TVN_RES_OK, but for the few whose comment says that they return the warning;
 *  - a failed call leaves the task as it was;
 *  - one task is used by one thread at a time; tasks of one environment may be used by different threads.
 */
#ifndef TOVAN_H
#define TOVAN_H

#include <stdarg.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

#if defined(__GNUC__)
#define TVN_API __attribute__((visibility("default")))
#define TVN_PRINTF(text, first) __attribute__((format(printf, text, first)))
#else
#define TVN_API
#define TVN_PRINTF(text, first)
#endif

/* ---- handles and types ---------------------------------------------------------------------------------------- */

typedef struct TVNenv *TVNenv_t;
typedef struct TVNtask *TVNtask_t;
typedef int32_t TVNrescodee;

/* User functions. A handle is passed back as it was given. They run on the calling thread, in the middle of a call on
 * their task:
 *   progress   TVN_readdata, TVN_writedata, TVN_optimize and TVN_optimizetrm;
 *   stream     every call that prints or reports a code, these four above all, and the deletion (a line without end);
 *   response   every call that reports a code;
 *   nonlinear  the calls that need values: TVN_getsolutioninf, TVN_updatesolutioninfo, TVN_getprimalobj,
 *              TVN_getdualobj, TVN_getpeqi, TVN_getdeqi, TVN_solutionsummary, and TVN_optimize for its items.
 * From inside them
 *  - what changes the problem, the parameters or the solutions, runs an optimizer, reads a file, solves with the basis
 *    or deletes the task returns TVN_RES_ERR_INTERNAL and does nothing. So does TVN_writedata inside a read or a write;
 *  - the task may be read, cloned, printed and, inside a run, written. While an optimizer runs no solution is defined.
 *    The rows of A cannot be read while a run or a write holds its columns (TVN_RES_ERR_INTERNAL). Inside a read the
 *    problem is as far as the file has been read;
 *  - callbacks, response function, stream functions and files may be linked anew;
 *  - other tasks, those of the same environment too, may be made, used and deleted;
 *  - TVN_deleteenv returns TVN_RES_ERR_LIVING_TASKS, or waits after TVN_enablegarcolenv. In a function of an environment
 *    without tasks it returns TVN_RES_ERR_INTERNAL, or waits for the end of the call.
 * A code that is reported while a stream function runs is returned and kept as the last error, and nothing is printed;
 * the response function is not called while it runs. */
typedef void *(*TVN_mallocfunc)(void *usrptr, size_t size);
typedef void (*TVN_freefunc)(void *usrptr, void *block);
/* Receives every reported code with its message; the result counts for warnings only: nonzero makes it a failure. */
typedef TVNrescodee (*TVN_responsefunc)(void *handle, TVNrescodee code, const char *message);
/* Called on a fatal internal error. It should not return: the call that met the error would go on. */
typedef void (*TVN_exitfunc)(void *handle, const char *file, int line, const char *message);
/* Progress: code is one of TVN_CALLBACK_*; a nonzero result stops the run. */
typedef int32_t (*TVN_callbackfunc)(TVNtask_t task, void *handle, int32_t code);
/* Receives one line, or a piece of a long line, of a stream. */
typedef void (*TVN_streamfunc)(void *handle, const char *text);

/* The nonlinear part of a problem: f(x) is added to the objective, g_i(x) to the activity of constraint i. Both
 * functions return 0, or anything else when they cannot answer, which ends the call or the run that asked with
 * TVN_RES_ERR_USER_NLO_FUNC. They are called on the thread of that call, must answer alike each time, and must not
 * change the task.
 *
 * The structure of one item. Outputs that are null are not asked for; numbers are asked for first, with null arrays,
 * then the arrays with the numbers.
 *   item      in: -1 the objective, 0 .. numcon - 1 a constraint.
 *   numgrdnz  out: variables that the item's nonlinear part depends on; 0: the item has none.
 *   grdsub    out, [numgrdnz]: these variables.
 *   numhesnz  out: elements of the lower triangle of the item's Hessian that can be nonzero.
 *   hessubi, hessubj  out, [numhesnz]: their rows and columns, hessubi[k] >= hessubj[k]. */
typedef int32_t (*TVN_nlgetspfunc)(void *nlhandle, int32_t item, int32_t *numgrdnz, int32_t *grdsub, int32_t *numhesnz,
                                   int32_t *hessubi, int32_t *hessubj);
/* The values at a point. Outputs that are null are not asked for.
 *   xx      in, [numvar]: the point.
 *   yo, yc  in, yc [numcon]: multipliers of the Lagrangian yo f(x) - sum yc[i] g_i(x); yc is null when hesval is.
 *   objval  out: f(xx).
 *   conval  out, [numcon]: g_i(xx), 0 for a constraint without a nonlinear part.
 *   grdval  out: gradients of the objective, then of constraint 0, 1, ..., one behind the other, each in the order that
 *           its grdsub has.
 *   hesval  out: Hessians of yo f, then of -yc[0] g_0, -yc[1] g_1, ..., each in the order of its hessubi; elements of
 *           the Lagrangian's Hessian are the sums of those at the same place. */
typedef int32_t (*TVN_nlgetvafunc)(void *nlhandle, const double *xx, double yo, const double *yc, double *objval,
                                   double *conval, double *grdval, double *hesval);

/* ==== constants ================================================================================================ */

/* begin: from the tables */

/* accmode */
#define TVN_ACC_VAR 0
#define TVN_ACC_CON 1

/* ad op */
#define TVN_ADOP_ADD 0
#define TVN_ADOP_SUB 1
#define TVN_ADOP_MUL 2
#define TVN_ADOP_DIV 3
#define TVN_ADOP_POW 4
#define TVN_ADOP_EXP 5
#define TVN_ADOP_LOG 6
#define TVN_ADOP_RET 7

/* ad optype */
#define TVN_ADOPTYPE_NONE 0
#define TVN_ADOPTYPE_CONSTANT 1
#define TVN_ADOPTYPE_VARIABLE 2
#define TVN_ADOPTYPE_REFERENCE 3

/* basis ident */
#define TVN_BI_NEVER 0
#define TVN_BI_ALWAYS 1
#define TVN_BI_NO_ERROR 2
#define TVN_BI_IF_FEASIBLE 3
#define TVN_BI_OTHER 4

/* bound key */
#define TVN_BK_LO 0
#define TVN_BK_UP 1
#define TVN_BK_FX 2
#define TVN_BK_FR 3
#define TVN_BK_RA 4

/* branch dir */
#define TVN_BRANCH_DIR_FREE 0
#define TVN_BRANCH_DIR_UP 1
#define TVN_BRANCH_DIR_DOWN 2

/* check convexity */
#define TVN_CHECK_CONVEXITY_NONE 0
#define TVN_CHECK_CONVEXITY_SIMPLE 1
#define TVN_CHECK_CONVEXITY_FULL 2

/* compress */
#define TVN_COMPRESS_NONE 0
#define TVN_COMPRESS_FREE 1
#define TVN_COMPRESS_GZIP 2

/* cone type */
#define TVN_CT_QUAD 0
#define TVN_CT_RQUAD 1

/* cpu type */
#define TVN_CPU_UNKNOWN 0
#define TVN_CPU_GENERIC 1
#define TVN_CPU_INTEL_P3 2
#define TVN_CPU_INTEL_P4 3
#define TVN_CPU_AMD_ATHLON 4
#define TVN_CPU_HP_PARISC20 5
#define TVN_CPU_INTEL_ITANIUM2 6
#define TVN_CPU_AMD_OPTERON 7
#define TVN_CPU_POWERPC_G5 8
#define TVN_CPU_INTEL_PM 9
#define TVN_CPU_INTEL_CORE2 10

/* data format */
#define TVN_DATA_FORMAT_EXTENSION 0
#define TVN_DATA_FORMAT_MPS 1
#define TVN_DATA_FORMAT_LP 2
#define TVN_DATA_FORMAT_TBT 3
#define TVN_DATA_FORMAT_OP 4
#define TVN_DATA_FORMAT_XML 5
#define TVN_DATA_FORMAT_FREE_MPS 6

/* feasrepair optimize */
#define TVN_FEASREPAIR_OPTIMIZE_NONE 0
#define TVN_FEASREPAIR_OPTIMIZE_PENALTY 1
#define TVN_FEASREPAIR_OPTIMIZE_COMBINED 2

/* inf type */
#define TVN_INF_DOU_TYPE 0
#define TVN_INF_INT_TYPE 1
#define TVN_INF_LINT_TYPE 2

/* iomode */
#define TVN_IOMODE_READ 0
#define TVN_IOMODE_WRITE 1
#define TVN_IOMODE_READWRITE 2

/* language */
#define TVN_LANG_ENG 0
#define TVN_LANG_DAN 1

/* mark */
#define TVN_MARK_LO 0
#define TVN_MARK_UP 1

/* message key */
#define TVN_MSG_READING_FILE 1000
#define TVN_MSG_WRITING_FILE 1001
#define TVN_MSG_MPS_SELECTED 1100

/* mio cont sol */
#define TVN_MIO_CONT_SOL_NONE 0
#define TVN_MIO_CONT_SOL_ROOT 1
#define TVN_MIO_CONT_SOL_ITG 2
#define TVN_MIO_CONT_SOL_ITG_REL 3

/* mio mode */
#define TVN_MIO_MODE_IGNORED 0
#define TVN_MIO_MODE_SATISFIED 1
#define TVN_MIO_MODE_LAZY 2

/* mio node selection */
#define TVN_MIO_NODE_SELECTION_FREE 0
#define TVN_MIO_NODE_SELECTION_FIRST 1
#define TVN_MIO_NODE_SELECTION_BEST 2
#define TVN_MIO_NODE_SELECTION_WORST 3
#define TVN_MIO_NODE_SELECTION_HYBRID 4
#define TVN_MIO_NODE_SELECTION_PSEUDO 5

/* mps format */
#define TVN_MPS_FORMAT_STRICT 0
#define TVN_MPS_FORMAT_RELAXED 1
#define TVN_MPS_FORMAT_FREE 2

/* network detect */
#define TVN_NETWORK_DETECT_FREE 0
#define TVN_NETWORK_DETECT_SIMPLE 1
#define TVN_NETWORK_DETECT_ADVANCED 2

/* objective sense */
#define TVN_OBJECTIVE_SENSE_UNDEFINED 0
#define TVN_OBJECTIVE_SENSE_MINIMIZE 1
#define TVN_OBJECTIVE_SENSE_MAXIMIZE 2

/* on off */
#define TVN_OFF 0
#define TVN_ON 1

/* optimizer */
#define TVN_OPTIMIZER_FREE 0
#define TVN_OPTIMIZER_INTPNT 1
#define TVN_OPTIMIZER_CONIC 2
#define TVN_OPTIMIZER_QCONE 3
#define TVN_OPTIMIZER_PRIMAL_SIMPLEX 4
#define TVN_OPTIMIZER_DUAL_SIMPLEX 5
#define TVN_OPTIMIZER_PRIMAL_DUAL_SIMPLEX 6
#define TVN_OPTIMIZER_FREE_SIMPLEX 7
#define TVN_OPTIMIZER_MIXED_INT 8
#define TVN_OPTIMIZER_NONCONVEX 9
#define TVN_OPTIMIZER_CONCURRENT 10

/* order method */
#define TVN_ORDER_METHOD_FREE 0
#define TVN_ORDER_METHOD_APPMINLOC1 1
#define TVN_ORDER_METHOD_APPMINLOC2 2
#define TVN_ORDER_METHOD_GRAPHPAR1 3
#define TVN_ORDER_METHOD_GRAPHPAR2 4
#define TVN_ORDER_METHOD_NONE 5

/* parameter type */
#define TVN_PAR_INVALID_TYPE 0
#define TVN_PAR_DOU_TYPE 1
#define TVN_PAR_INT_TYPE 2
#define TVN_PAR_STR_TYPE 3

/* presolve mode */
#define TVN_PRESOLVE_MODE_OFF 0
#define TVN_PRESOLVE_MODE_ON 1
#define TVN_PRESOLVE_MODE_FREE 2

/* pro status */
#define TVN_PRO_STA_UNKNOWN 0
#define TVN_PRO_STA_PRIM_AND_DUAL_FEAS 1
#define TVN_PRO_STA_PRIM_FEAS 2
#define TVN_PRO_STA_DUAL_FEAS 3
#define TVN_PRO_STA_PRIM_INFEAS 4
#define TVN_PRO_STA_DUAL_INFEAS 5
#define TVN_PRO_STA_PRIM_AND_DUAL_INFEAS 6
#define TVN_PRO_STA_ILL_POSED 7
#define TVN_PRO_STA_NEAR_PRIM_AND_DUAL_FEAS 8
#define TVN_PRO_STA_NEAR_PRIM_FEAS 9
#define TVN_PRO_STA_NEAR_DUAL_FEAS 10
#define TVN_PRO_STA_PRIM_INFEAS_OR_UNBOUNDED 11

/* problem item */
#define TVN_PI_VAR 0
#define TVN_PI_CON 1
#define TVN_PI_CONE 2

/* problem type */
#define TVN_PROBTYPE_LO 0
#define TVN_PROBTYPE_QO 1
#define TVN_PROBTYPE_QCQO 2
#define TVN_PROBTYPE_GECO 3
#define TVN_PROBTYPE_CONIC 4
#define TVN_PROBTYPE_MIXED 5

/* q read */
#define TVN_Q_READ_ADD 0
#define TVN_Q_READ_DROP_LOWER 1
#define TVN_Q_READ_DROP_UPPER 2

/* response class */
#define TVN_RESPONSE_OK 0
#define TVN_RESPONSE_WRN 1
#define TVN_RESPONSE_TRM 2
#define TVN_RESPONSE_ERR 3
#define TVN_RESPONSE_UNK 4

/* scaling */
#define TVN_SCALING_FREE 0
#define TVN_SCALING_NONE 1
#define TVN_SCALING_MODERATE 2
#define TVN_SCALING_AGGRESSIVE 3

/* scaling method */
#define TVN_SCALING_METHOD_POW2 0
#define TVN_SCALING_METHOD_FREE 1

/* sensitivity type */
#define TVN_SENSITIVITY_TYPE_BASIS 0
#define TVN_SENSITIVITY_TYPE_OPTIMAL_PARTITION 1

/* sim degen */
#define TVN_SIM_DEGEN_NONE 0
#define TVN_SIM_DEGEN_FREE 1
#define TVN_SIM_DEGEN_AGGRESSIVE 2
#define TVN_SIM_DEGEN_MODERATE 3
#define TVN_SIM_DEGEN_MINIMUM 4

/* sim exploit dupvec */
#define TVN_SIM_EXPLOIT_DUPVEC_OFF 0
#define TVN_SIM_EXPLOIT_DUPVEC_ON 1
#define TVN_SIM_EXPLOIT_DUPVEC_FREE 2

/* sim hotstart */
#define TVN_SIM_HOTSTART_NONE 0
#define TVN_SIM_HOTSTART_FREE 1
#define TVN_SIM_HOTSTART_STATUS_KEYS 2

/* sim reformulation */
#define TVN_SIM_REFORMULATION_OFF 0
#define TVN_SIM_REFORMULATION_ON 1
#define TVN_SIM_REFORMULATION_FREE 2
#define TVN_SIM_REFORMULATION_AGGRESSIVE 3

/* sim selection */
#define TVN_SIM_SELECTION_FREE 0
#define TVN_SIM_SELECTION_FULL 1
#define TVN_SIM_SELECTION_ASE 2
#define TVN_SIM_SELECTION_DEVEX 3
#define TVN_SIM_SELECTION_SE 4
#define TVN_SIM_SELECTION_PARTIAL 5

/* sol item */
#define TVN_SOL_ITEM_XC 0
#define TVN_SOL_ITEM_XX 1
#define TVN_SOL_ITEM_Y 2
#define TVN_SOL_ITEM_SLC 3
#define TVN_SOL_ITEM_SUC 4
#define TVN_SOL_ITEM_SLX 5
#define TVN_SOL_ITEM_SUX 6
#define TVN_SOL_ITEM_SNX 7

/* sol status */
#define TVN_SOL_STA_UNKNOWN 0
#define TVN_SOL_STA_OPTIMAL 1
#define TVN_SOL_STA_PRIM_FEAS 2
#define TVN_SOL_STA_DUAL_FEAS 3
#define TVN_SOL_STA_PRIM_AND_DUAL_FEAS 4
#define TVN_SOL_STA_PRIM_INFEAS_CER 5
#define TVN_SOL_STA_DUAL_INFEAS_CER 6
#define TVN_SOL_STA_NEAR_OPTIMAL 8
#define TVN_SOL_STA_NEAR_PRIM_FEAS 9
#define TVN_SOL_STA_NEAR_DUAL_FEAS 10
#define TVN_SOL_STA_NEAR_PRIM_AND_DUAL_FEAS 11
#define TVN_SOL_STA_NEAR_PRIM_INFEAS_CER 12
#define TVN_SOL_STA_NEAR_DUAL_INFEAS_CER 13
#define TVN_SOL_STA_INTEGER_OPTIMAL 14
#define TVN_SOL_STA_NEAR_INTEGER_OPTIMAL 15

/* sol type */
#define TVN_SOL_ITR 0
#define TVN_SOL_BAS 1
#define TVN_SOL_ITG 2

/* solve form */
#define TVN_SOLVE_FREE 0
#define TVN_SOLVE_PRIMAL 1
#define TVN_SOLVE_DUAL 2

/* starting point */
#define TVN_STARTING_POINT_FREE 0
#define TVN_STARTING_POINT_GUESS 1
#define TVN_STARTING_POINT_CONSTANT 2
#define TVN_STARTING_POINT_SATISFY_BOUNDS 3

/* status key */
#define TVN_SK_UNK 0
#define TVN_SK_BAS 1
#define TVN_SK_SUPBAS 2
#define TVN_SK_LOW 3
#define TVN_SK_UPR 4
#define TVN_SK_FIX 5
#define TVN_SK_INF 6

/* stream */
#define TVN_STREAM_LOG 0
#define TVN_STREAM_MSG 1
#define TVN_STREAM_ERR 2
#define TVN_STREAM_WRN 3

/* value */
#define TVN_MAX_STR_LEN 1024

/* var type */
#define TVN_VAR_TYPE_CONT 0
#define TVN_VAR_TYPE_INT 1

/* xml mode */
#define TVN_WRITE_XML_MODE_ROW 0
#define TVN_WRITE_XML_MODE_COL 1

/* integer parameters */
#define TVN_IPAR_ALLOC_ADD_QNZ 0 /* default 5000, >= 0. Room for so many quadratic terms is added whenever there is
    too little. */
#define TVN_IPAR_ANA_SOL_BASIS 1 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_ANA_SOL_PRINT_VIOLATED 2 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_AUTO_SORT_A_BEFORE_OPT 3 /* default 0, 0 to 1. Sorts the row indices of each column before a run; the
    result is the same problem with another order of sums. */
#define TVN_IPAR_AUTO_UPDATE_SOL_INFO 4 /* default 1, 0 to 1. Recomputes objective values and violations of all
    solutions after each run. */
#define TVN_IPAR_BASIS_SOLVE_USE_PLUS_ONE 5 /* default 0, 0 to 1. In basis solves the columns of slacks count as plus
    instead of minus unit vectors. */
#define TVN_IPAR_BI_CLEAN_OPTIMIZER 6 /* default 0, 0 to 10. Primal or dual simplex for what the pushes to a basis, or
    presolve's undo, have left short of optimal; free chooses by what is wrong. */
#define TVN_IPAR_BI_IGNORE_MAX_ITER 7 /* default 0, 0 to 1. On: an interior run at its iteration limit is followed by
    the step to a basis (INTPNT_BASIS no error), and a step that ends at its own limit gives no error. */
#define TVN_IPAR_BI_IGNORE_NUM_ERROR 8 /* default 0, 0 to 1. On: an interior run that stalls is followed by the step
    to a basis (INTPNT_BASIS no error), and a step that fails in its numbers gives no error: the interior solution is
    the answer. */
#define TVN_IPAR_BI_MAX_ITERATIONS 9 /* default 1000000, >= 0. Iterations of the simplex optimizers that end the step
    to a basis; 0: none, the basis is left as the pushes leave it. */
#define TVN_IPAR_CACHE_SIZE_L1 10 /* default -1. Bytes of the first-level cache; -1 asks the machine. */
#define TVN_IPAR_CACHE_SIZE_L2 11 /* default -1. Bytes of the second-level cache; -1 asks the machine. */
#define TVN_IPAR_CHECK_CONVEXITY 12 /* default 2, 0 to 2. How quadratic terms are looked at before an interior-point
    run: not at all, signs of diagonals and minors of order 2, or, full, by a factor. */
#define TVN_IPAR_CHECK_TASK_DATA 13 /* default 1, 0 to 1. Looks for NaN in costs and bounds before a run. */
#define TVN_IPAR_CONCURRENT_NUM_OPTIMIZERS 14 /* default 2, >= 0. No effect yet. */
#define TVN_IPAR_CONCURRENT_PRIORITY_DUAL_SIMPLEX 15 /* default 2, >= 0. No effect yet. */
#define TVN_IPAR_CONCURRENT_PRIORITY_FREE_SIMPLEX 16 /* default 3, >= 0. No effect yet. */
#define TVN_IPAR_CONCURRENT_PRIORITY_INTPNT 17 /* default 4, >= 0. No effect yet. */
#define TVN_IPAR_CONCURRENT_PRIORITY_PRIMAL_SIMPLEX 18 /* default 1, >= 0. No effect yet. */
#define TVN_IPAR_CPU_TYPE 19 /* default 0, 0 to 10. The processor that the library tunes for; the default asks the
    machine. */
#define TVN_IPAR_DATA_CHECK 20 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_FEASREPAIR_OPTIMIZE 21 /* default 0, 0 to 2. No effect yet. */
#define TVN_IPAR_INFEAS_GENERIC_NAMES 22 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_INFEAS_PREFER_PRIMAL 23 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_INFEAS_REPORT_AUTO 24 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_INFEAS_REPORT_LEVEL 25 /* default 1, >= 0. No effect yet. */
#define TVN_IPAR_INTPNT_BASIS 26 /* default 1, 0 to 4. Linear problems: never, the interior solution alone; always, a
    basis after each run but a stopped one; no error, after a run without one; if feasible, not after a certificate.
    */
#define TVN_IPAR_INTPNT_DIFF_STEP 27 /* default 1, 0 to 1. The interior-point optimizer may take other steps in the
    primal than in the dual. */
#define TVN_IPAR_INTPNT_FACTOR_DEBUG_LVL 28 /* default 0, >= 0. No effect yet. */
#define TVN_IPAR_INTPNT_FACTOR_METHOD 29 /* default 0, >= 0. The system that the interior-point optimizer factors: 1
    the normal equations, 2 the augmented system, otherwise the cheaper one. */
#define TVN_IPAR_INTPNT_MAX_ITERATIONS 30 /* default 400, >= 0. Interior-point iterations after which a run ends with
    TVN_RES_TRM_MAX_ITERATIONS. */
#define TVN_IPAR_INTPNT_MAX_NUM_COR 31 /* default -1, >= -1. Centrality correctors of an iteration; negative: as many
    as gain, at most 10. */
#define TVN_IPAR_INTPNT_MAX_NUM_REFINEMENT_STEPS 32 /* default -1. Steps of iterative refinement of a direction;
    negative takes as many as pay. */
#define TVN_IPAR_INTPNT_NUM_THREADS 33 /* default 1, >= 0. Threads of an interior-point run. */
#define TVN_IPAR_INTPNT_OFF_COL_TRH 34 /* default 40, >= 0. Columns with at least so many entries may be kept apart
    from the factor, where that is cheaper; 0 keeps none apart. */
#define TVN_IPAR_INTPNT_ORDER_METHOD 35 /* default 0, 0 to 5. Order of the factor: approximate minimum local fill,
    graph partitioning, none, or free, the better of both by what the factor costs. */
#define TVN_IPAR_INTPNT_REGULARIZATION_USE 36 /* default 1, 0 to 1. The systems of the interior-point optimizer may be
    regularised where they are not accurate enough. */
#define TVN_IPAR_INTPNT_SCALING 37 /* default 0, 0 to 3. None leaves the problem as it is inside the interior-point
    optimizer; all others scale by powers of two. */
#define TVN_IPAR_INTPNT_SOLVE_FORM 38 /* default 0, 0 to 2. The interior-point optimizer solves the primal, the dual,
    or, free, the dual where it promises half the time. */
#define TVN_IPAR_INTPNT_STARTING_POINT 39 /* default 0, 0 to 3. Start of the interior-point optimizer: least squares,
    a constant, strictly within the bounds, or free, the better one. */
#define TVN_IPAR_LOG 40 /* default 10, >= 0. The level of the whole log; 0 is silence. Each of the LOG_ parameters
    below is cut to it. */
#define TVN_IPAR_LOG_BI 41 /* default 4, >= 0. Lines of the step to a basis; from 5 on a summary. */
#define TVN_IPAR_LOG_BI_FREQ 42 /* default 2500, >= 0. Pushes to a basis per line of the log, 0: none. */
#define TVN_IPAR_LOG_CHECK_CONVEXITY 43 /* default 0, >= 0. Lines of the check of convexity. */
#define TVN_IPAR_LOG_CONCURRENT 44 /* default 1, >= 0. Lines of the concurrent optimizer. */
#define TVN_IPAR_LOG_CUT_SECOND_OPT 45 /* default 1, >= 0. The second and later runs of a task log as if every level
    were so much lower. */
#define TVN_IPAR_LOG_FACTOR 46 /* default 1, >= 0. No effect yet. */
#define TVN_IPAR_LOG_FEASREPAIR 47 /* default 0, >= 0. No effect yet. */
#define TVN_IPAR_LOG_FILE 48 /* default 1, >= 0. Lines about reading files. */
#define TVN_IPAR_LOG_HEAD 49 /* default 1, >= 0. The table of the problem at the head of a run. */
#define TVN_IPAR_LOG_INFEAS_ANA 50 /* default 1, >= 0. Lines of the infeasibility report. */
#define TVN_IPAR_LOG_INTPNT 51 /* default 4, >= 0. Lines of the interior-point optimizers. */
#define TVN_IPAR_LOG_MIO 52 /* default 4, >= 0. No effect yet. */
#define TVN_IPAR_LOG_MIO_FREQ 53 /* default 1000. No effect yet. */
#define TVN_IPAR_LOG_NONCONVEX 54 /* default 1, >= 0. No effect yet. */
#define TVN_IPAR_LOG_OPTIMIZER 55 /* default 1, >= 0. Begin and end of a run. */
#define TVN_IPAR_LOG_ORDER 56 /* default 1, >= 0. Lines of the ordering. */
#define TVN_IPAR_LOG_PARAM 57 /* default 0, >= 0. Each line of a parameter file that is read. */
#define TVN_IPAR_LOG_PRESOLVE 58 /* default 1, >= 0. Lines of the presolve; 3 adds its steps and a table of what it
    did. */
#define TVN_IPAR_LOG_RESPONSE 59 /* default 0, >= 0. Each response code that is passed on. */
#define TVN_IPAR_LOG_SENSITIVITY 60 /* default 1, >= 0. Lines of the sensitivity analysis. */
#define TVN_IPAR_LOG_SENSITIVITY_OPT 61 /* default 0, >= 0. No effect yet. */
#define TVN_IPAR_LOG_SIM 62 /* default 4, >= 0. Lines of the simplex optimizers. */
#define TVN_IPAR_LOG_SIM_FREQ 63 /* default 500, >= 0. Simplex iterations between two lines. */
#define TVN_IPAR_LOG_SIM_MINOR 64 /* default 1, >= 0. No effect yet. */
#define TVN_IPAR_LOG_SIM_NETWORK_FREQ 65 /* default 50, >= 0. No effect yet. */
#define TVN_IPAR_LOG_STORAGE 66 /* default 0, >= 0. Each change of the room of a task. */
#define TVN_IPAR_LP_WRITE_IGNORE_INCOMPATIBLE_ITEMS 67 /* default 0, 0 to 1. Cones and functions of the user stay
    behind when an LP file is written; otherwise such a problem is refused. */
#define TVN_IPAR_MAX_NUM_WARNINGS 68 /* default 10, >= 0. Each warning is printed so many times at most. */
#define TVN_IPAR_MIO_BRANCH_DIR 69 /* default 0, 0 to 2. No effect yet. */
#define TVN_IPAR_MIO_BRANCH_PRIORITIES_USE 70 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_MIO_CONSTRUCT_SOL 71 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_MIO_CONT_SOL 72 /* default 0, 0 to 3. No effect yet. */
#define TVN_IPAR_MIO_CUT_LEVEL_ROOT 73 /* default -1. No effect yet. */
#define TVN_IPAR_MIO_CUT_LEVEL_TREE 74 /* default -1. No effect yet. */
#define TVN_IPAR_MIO_FEASPUMP_LEVEL 75 /* default -1, <= 3. No effect yet. */
#define TVN_IPAR_MIO_HEURISTIC_LEVEL 76 /* default -1. No effect yet. */
#define TVN_IPAR_MIO_HOTSTART 77 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_MIO_KEEP_BASIS 78 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_MIO_LOCAL_BRANCH_NUMBER 79 /* default -1. No effect yet. */
#define TVN_IPAR_MIO_MAX_NUM_BRANCHES 80 /* default -1. No effect yet. */
#define TVN_IPAR_MIO_MAX_NUM_RELAXS 81 /* default -1. No effect yet. */
#define TVN_IPAR_MIO_MAX_NUM_SOLUTIONS 82 /* default -1. No effect yet. */
#define TVN_IPAR_MIO_MODE 83 /* default 1, 0 to 2. Ignored solves the relaxation of an integer problem; everything
    else needs a mixed-integer optimizer. */
#define TVN_IPAR_MIO_NODE_OPTIMIZER 84 /* default 0, 0 to 10. No effect yet. */
#define TVN_IPAR_MIO_NODE_SELECTION 85 /* default 0, 0 to 5. No effect yet. */
#define TVN_IPAR_MIO_OPTIMIZER_MODE 86 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_MIO_PRESOLVE_AGGREGATE 87 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_MIO_PRESOLVE_PROBING 88 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_MIO_PRESOLVE_USE 89 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_MIO_ROOT_OPTIMIZER 90 /* default 0, 0 to 10. No effect yet. */
#define TVN_IPAR_MIO_STRONG_BRANCH 91 /* default -1. No effect yet. */
#define TVN_IPAR_NONCONVEX_MAX_ITERATIONS 92 /* default 100000, >= 0. No effect yet. */
#define TVN_IPAR_OBJECTIVE_SENSE 93 /* default 1, 0 to 2. The sense when neither the caller nor the file has set one.
    */
#define TVN_IPAR_OPF_MAX_TERMS_PER_LINE 94 /* default 5, >= 0. Terms and names on a line of an OPF file, 0 for no
    limit. */
#define TVN_IPAR_OPF_WRITE_HEADER 95 /* default 1, 0 to 1. An OPF file opens with a comment that names version and
    time. */
#define TVN_IPAR_OPF_WRITE_HINTS 96 /* default 1, 0 to 1. An OPF file tells the sizes of its problem. */
#define TVN_IPAR_OPF_WRITE_PARAMETERS 97 /* default 0, 0 to 1. An OPF file holds the values of all parameters, which
    reading it sets. */
#define TVN_IPAR_OPF_WRITE_PROBLEM 98 /* default 1, 0 to 1. An OPF file holds the problem. */
#define TVN_IPAR_OPF_WRITE_SOL_BAS 99 /* default 1, 0 to 1. The basic solution is among them. */
#define TVN_IPAR_OPF_WRITE_SOL_ITG 100 /* default 1, 0 to 1. The integer solution is among them. */
#define TVN_IPAR_OPF_WRITE_SOL_ITR 101 /* default 1, 0 to 1. The interior solution is among them. */
#define TVN_IPAR_OPF_WRITE_SOLUTIONS 102 /* default 0, 0 to 1. An OPF file holds the solutions that the three
    parameters below name. */
#define TVN_IPAR_OPTIMIZER 103 /* default 0, 0 to 10. Which optimizer takes the problem. Free sends a linear one to
    the interior point and from there to a basis (INTPNT_BASIS), or to the simplex when a basis stands or the problem
    is small, and fills both slots; one with a quadratic objective to the interior point. */
#define TVN_IPAR_PARAM_READ_CASE_NAME 104 /* default 1, 0 to 1. Names in a parameter file count with their case;
    otherwise they are read as upper case. */
#define TVN_IPAR_PARAM_READ_IGN_ERROR 105 /* default 0, 0 to 1. Faults in a parameter file are passed over. */
#define TVN_IPAR_PRESOLVE_ELIM_FILL 106 /* default 1, >= 0. The eliminator may add so many times the nonzeros of the
    problem, and three times so many entries by one pivot; 0 allows no fill. */
#define TVN_IPAR_PRESOLVE_ELIMINATOR_MAX_NUM_TRIES 107 /* default -1. Passes of the eliminator; negative is no limit.
    */
#define TVN_IPAR_PRESOLVE_ELIMINATOR_USE 108 /* default 1, 0 to 1. Solves equality rows for columns that rows hold
    within their bounds. */
#define TVN_IPAR_PRESOLVE_LEVEL 109 /* default -1. No effect yet. */
#define TVN_IPAR_PRESOLVE_LINDEP_USE 110 /* default 1, 0 to 1. Looks for linearly dependent equality rows. */
#define TVN_IPAR_PRESOLVE_LINDEP_WORK_LIM 111 /* default 1, >= 0. The larger, the less work for dependent rows when
    there are more than 1000; 0 sets no limit. */
#define TVN_IPAR_PRESOLVE_USE 112 /* default 2, 0 to 2. Off, on, or free: on unless the start has basic or superbasic
    variables or the iteration limit is at most 50. */
#define TVN_IPAR_QO_SEPARABLE_REFORMULATION 113 /* default 0, 0 to 1. A quadratic objective is solved in separable
    form. By cones: the conic optimizer. */
#define TVN_IPAR_READ_ADD_ANZ 114 /* default 0, >= 0. Room for elements of A beyond those of the file. */
#define TVN_IPAR_READ_ADD_CON 115 /* default 0, >= 0. Room for constraints beyond those of the file. */
#define TVN_IPAR_READ_ADD_CONE 116 /* default 0, >= 0. Room for cones beyond those of the file. */
#define TVN_IPAR_READ_ADD_QNZ 117 /* default 0, >= 0. Room for quadratic terms beyond those of the file. */
#define TVN_IPAR_READ_ADD_VAR 118 /* default 0, >= 0. Room for variables beyond those of the file. */
#define TVN_IPAR_READ_ANZ 119 /* default 100000, >= 0. Elements of A that room is made for when a formula file is
    read, at most half the bytes of the file. */
#define TVN_IPAR_READ_CON 120 /* default 10000, >= 0. Constraints that room is made for when a formula file is read,
    likewise. */
#define TVN_IPAR_READ_CONE 121 /* default 2500, >= 0. No effect yet. */
#define TVN_IPAR_READ_DATA_COMPRESSED 122 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_READ_DATA_FORMAT 123 /* default 0, 0 to 6. The format of a problem file; the default goes by the
    extension. */
#define TVN_IPAR_READ_KEEP_FREE_CON 124 /* default 0, 0 to 1. Rows of type N stay as free constraints, the objective
    row among them. */
#define TVN_IPAR_READ_LP_DROP_NEW_VARS_IN_BOU 125 /* default 0, 0 to 1. A bound of a variable that no formula of an LP
    file has is ignored. */
#define TVN_IPAR_READ_LP_QUOTED_NAMES 126 /* default 1, 0 to 1. In LP files a name may stand in double quotes. */
#define TVN_IPAR_READ_MPS_FORMAT 127 /* default 1, 0 to 2. Strict and relaxed read fixed columns, free reads fields
    between blanks. */
#define TVN_IPAR_READ_MPS_KEEP_INT 128 /* default 1, 0 to 1. Integer variables of the file stay integer. */
#define TVN_IPAR_READ_MPS_OBJ_SENSE 129 /* default 1, 0 to 1. The section OBJSENSE counts. */
#define TVN_IPAR_READ_MPS_QUOTED_NAMES 130 /* default 1, 0 to 1. In free form a name may stand in double quotes. */
#define TVN_IPAR_READ_MPS_RELAX 131 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_READ_MPS_WIDTH 132 /* default 1024, >= 0. The longest data line. */
#define TVN_IPAR_READ_Q_MODE 133 /* default 0, 0 to 2. Takes quadratic terms as they come, or drops those of one
    triangle. */
#define TVN_IPAR_READ_QNZ 134 /* default 20000, >= 0. Quadratic terms that room is made for when a formula file is
    read, likewise. */
#define TVN_IPAR_READ_TASK_IGNORE_PARAM 135 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_READ_VAR 136 /* default 10000, >= 0. Variables that room is made for when a formula file is read,
    likewise. */
#define TVN_IPAR_SENSITIVITY_ALL 137 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_SENSITIVITY_OPTIMIZER 138 /* default 7, 0 to 10. No effect yet. */
#define TVN_IPAR_SENSITIVITY_TYPE 139 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_SIM_BASIS_FACTOR_USE 140 /* default 1, 0 to 1. A run may begin with the factor that the last run
    left, when it still fits. */
#define TVN_IPAR_SIM_DEGEN 141 /* default 1, 0 to 4. How hard degeneracy is fought: the size of the perturbation of
    bounds, 0 for none. */
#define TVN_IPAR_SIM_DUAL_CRASH 142 /* default 90, >= 0. A cold start of the dual simplex begins from a triangular
    basis with less dual infeasibility when at least so many percent of the start are slacks; above 100 never. */
#define TVN_IPAR_SIM_DUAL_PHASEONE_METHOD 143 /* default 0, 0 to 10. How the dual simplex becomes dual feasible. 0 and
    1: it solves a problem with boxes for bounds first. 2: it shifts the costs of what is infeasible and leaves the
    true costs to the primal simplex; other values are as 0. */
#define TVN_IPAR_SIM_DUAL_RESTRICT_SELECTION 144 /* default 50, 0 to 100. No effect yet. */
#define TVN_IPAR_SIM_DUAL_SELECTION 145 /* default 0, 0 to 5. Pricing rule of the dual simplex. Free is exact steepest
    edge. */
#define TVN_IPAR_SIM_EXPLOIT_DUPVEC 146 /* default 0, 0 to 2. The primal simplex runs columns that are equal up to a
    factor, costs included, as one; free when they are at least three of ten. Presolve merges most of them before. */
#define TVN_IPAR_SIM_HOTSTART 147 /* default 1, 0 to 2. Whether a run starts from the stored basic solution: not, from
    its keys and the values of its superbasics, or from its keys alone. */
#define TVN_IPAR_SIM_HOTSTART_LU 148 /* default 1, 0 to 1. Off, nothing of the last basis is kept for the next run but
    its keys and values, and the room of the factor for basis solves is given back and taken anew each time. */
#define TVN_IPAR_SIM_INTEGER 149 /* default 0, 0 to 10. No effect yet. */
#define TVN_IPAR_SIM_MAX_ITERATIONS 150 /* default 10000000, >= 0. Simplex iterations after which a run ends with
    TVN_RES_TRM_MAX_ITERATIONS. */
#define TVN_IPAR_SIM_MAX_NUM_SETBACKS 151 /* default 250, >= 0. Setbacks (a basis that had to be repaired, an
    unexpected loss of feasibility) after which a run ends. */
#define TVN_IPAR_SIM_NETWORK_DETECT 152 /* default 101, >= 0. No effect yet. */
#define TVN_IPAR_SIM_NETWORK_DETECT_HOTSTART 153 /* default 100, >= 0. No effect yet. */
#define TVN_IPAR_SIM_NETWORK_DETECT_METHOD 154 /* default 0, 0 to 2. No effect yet. */
#define TVN_IPAR_SIM_NON_SINGULAR 155 /* default 1, 0 to 1. A singular basis is repaired; otherwise the run ends with
    an error. */
#define TVN_IPAR_SIM_PRIMAL_CRASH 156 /* default 90, >= 0. A cold start of the primal simplex begins from a triangular
    crash basis when at least so many percent of the start are slacks; above 100 never. */
#define TVN_IPAR_SIM_PRIMAL_PHASEONE_METHOD 157 /* default 0, 0 to 10. No effect yet. */
#define TVN_IPAR_SIM_PRIMAL_RESTRICT_SELECTION 158 /* default 50, 0 to 100. Percentage up to which the candidates of a
    restricted pricing rule are cut; above 50 the restricted form is preferred. */
#define TVN_IPAR_SIM_PRIMAL_SELECTION 159 /* default 0, 0 to 5. Pricing rule of the primal simplex. Free starts by the
    shape of the problem and changes to exact steepest edge. */
#define TVN_IPAR_SIM_REFACTOR_FREQ 160 /* default 0, >= 0. Iterations between two factorisations of the basis; 0 lets
    the factor decide by its cost per update. */
#define TVN_IPAR_SIM_REFORMULATION 161 /* default 0, 0 to 3. Two opposite columns whose costs cancel run as one, and a
    column that another one dominates rests at its bound. On, always; aggressive, with any factor between the columns;
    free, when presolve is off, there is no start, and at least a twentieth of the columns goes. Presolve does the
    same by itself. */
#define TVN_IPAR_SIM_SAVE_LU 162 /* default 0, 0 to 1. A run leaves the factor of its last basis to the next run; the
    memory of a factor is kept for it. */
#define TVN_IPAR_SIM_SCALING 163 /* default 0, 0 to 3. Scaling of the problem inside the simplex optimizers: free
    scales when it pays, moderate always, aggressive with more passes, none not at all. */
#define TVN_IPAR_SIM_SCALING_METHOD 164 /* default 0, 0 to 1. Geometric only, or geometric and then equilibrated. */
#define TVN_IPAR_SIM_SOLVE_FORM 165 /* default 0, 0 to 2. Dual: a cold start solves the dual as a problem of its own,
    and its basis is brought back; otherwise the primal is solved. */
#define TVN_IPAR_SIM_STABILITY_PRIORITY 166 /* default 50, 0 to 100. No effect yet. */
#define TVN_IPAR_SIM_SWITCH_OPTIMIZER 167 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_SOL_FILTER_KEEP_BASIC 168 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_SOL_FILTER_KEEP_RANGED 169 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_SOL_QUOTED_NAMES 170 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_SOL_READ_NAME_WIDTH 171 /* default -1. No effect yet. */
#define TVN_IPAR_SOL_READ_WIDTH 172 /* default 1024, >= 0. No effect yet. */
#define TVN_IPAR_SOLUTION_CALLBACK 173 /* default 0, 0 to 1. No effect yet. */
#define TVN_IPAR_TIMING_LEVEL 174 /* default 1, >= 0. No effect yet. */
#define TVN_IPAR_WARNING_LEVEL 175 /* default 1, >= 0. No effect yet. */
#define TVN_IPAR_WRITE_BAS_CONSTRAINTS 176 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_WRITE_BAS_HEAD 177 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_WRITE_BAS_VARIABLES 178 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_WRITE_DATA_COMPRESSED 179 /* default 0, >= 0. Written problem files are gzip files. */
#define TVN_IPAR_WRITE_DATA_FORMAT 180 /* default 0, 0 to 6. The format of a problem file that is written; the default
    goes by the extension. */
#define TVN_IPAR_WRITE_DATA_PARAM 181 /* default 0, 0 to 1. The parameters stand as comments behind a written problem.
    */
#define TVN_IPAR_WRITE_FREE_CON 182 /* default 0, 0 to 1. Free constraints are written, as rows of type N. */
#define TVN_IPAR_WRITE_GENERIC_NAMES 183 /* default 0, 0 to 1. All names in a written problem are generic: c, x or k
    and a number. */
#define TVN_IPAR_WRITE_GENERIC_NAMES_IO 184 /* default 1, >= 0. Index of the first generic name. */
#define TVN_IPAR_WRITE_INT_CONSTRAINTS 185 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_WRITE_INT_HEAD 186 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_WRITE_INT_VARIABLES 187 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_WRITE_LP_LINE_WIDTH 188 /* default 80, >= 40. A line of an LP file ends before it is longer, unless
    one name is. */
#define TVN_IPAR_WRITE_LP_QUOTED_NAMES 189 /* default 1, 0 to 1. Names that are no LP names are written in double
    quotes; otherwise they are refused. */
#define TVN_IPAR_WRITE_LP_STRICT_FORMAT 190 /* default 0, 0 to 1. Free and ranged constraints are refused in LP files.
    */
#define TVN_IPAR_WRITE_LP_TERMS_PER_LINE 191 /* default 10, >= 0. Terms on a line of an LP file, 0 for no limit. */
#define TVN_IPAR_WRITE_MPS_INT 192 /* default 1, 0 to 1. Integer variables are written as such. */
#define TVN_IPAR_WRITE_MPS_OBJ_SENSE 193 /* default 1, 0 to 1. The sense is written as a section OBJSENSE; otherwise
    as a comment. */
#define TVN_IPAR_WRITE_MPS_QUOTED_NAMES 194 /* default 1, 0 to 1. Names that hold blanks are written in double quotes.
    */
#define TVN_IPAR_WRITE_MPS_STRICT 195 /* default 0, 0 to 1. No name is written in double quotes. */
#define TVN_IPAR_WRITE_PRECISION 196 /* default 8, >= 0. Digits of the numbers in a written problem. */
#define TVN_IPAR_WRITE_SOL_CONSTRAINTS 197 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_WRITE_SOL_HEAD 198 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_WRITE_SOL_VARIABLES 199 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_WRITE_TASK_INC_SOL 200 /* default 1, 0 to 1. No effect yet. */
#define TVN_IPAR_WRITE_XML_MODE 201 /* default 0, 0 to 1. No effect yet. */

/* double parameters */
#define TVN_DPAR_ANA_SOL_INFEAS_TOL 0 /* default 1e-8, >= 0. No effect yet. */
#define TVN_DPAR_BASIS_REL_TOL_S 1 /* default 1e-12, >= 0. No effect yet. */
#define TVN_DPAR_BASIS_TOL_S 2 /* default 1e-6, >= 1e-9. Largest dual infeasibility of an optimal basic solution. */
#define TVN_DPAR_BASIS_TOL_X 3 /* default 1e-6, >= 1e-9. Largest primal infeasibility of an optimal basic solution. */
#define TVN_DPAR_CALLBACK_FREQ 4 /* default -1. No effect yet. */
#define TVN_DPAR_CHECK_CONVEXITY_REL_TOL 5 /* default 1e-10, >= 0. A quadratic term counts as convex when no
    eigenvalue of its matrix, scaled to a unit diagonal, lies below minus this. */
#define TVN_DPAR_DATA_TOL_AIJ 6 /* default 1e-12, 1e-16 to 1e-6. Elements of A that are no larger are left out. */
#define TVN_DPAR_DATA_TOL_AIJ_HUGE 7 /* default 1e20, >= 0. Elements of A that are larger are refused. */
#define TVN_DPAR_DATA_TOL_AIJ_LARGE 8 /* default 1e10, >= 0. Elements of A that are larger give a warning. */
#define TVN_DPAR_DATA_TOL_BOUND_INF 9 /* default 1e16, >= 0. Bounds that are larger are infinite. */
#define TVN_DPAR_DATA_TOL_BOUND_WRN 10 /* default 1e8, >= 0. Bounds that are larger give a warning. */
#define TVN_DPAR_DATA_TOL_C_HUGE 11 /* default 1e16, >= 0. Costs that are larger are refused. */
#define TVN_DPAR_DATA_TOL_CJ_LARGE 12 /* default 1e8, >= 0. Costs that are larger give a warning. */
#define TVN_DPAR_DATA_TOL_QIJ 13 /* default 1e-16, >= 0. Quadratic terms that are no larger are left out. */
#define TVN_DPAR_DATA_TOL_X 14 /* default 1e-8, >= 0. Values that are no larger count as 0 when the change of a bound
    decides what stays known of a solution. */
#define TVN_DPAR_FEASREPAIR_TOL 15 /* default 1e-10, 1e-16 to 1e16. No effect yet. */
#define TVN_DPAR_INTPNT_CO_TOL_DFEAS 16 /* default 1e-8, 0 to 1. Dual residual that the conic optimizer aims at,
    relative to the costs. */
#define TVN_DPAR_INTPNT_CO_TOL_INFEAS 17 /* default 1e-8, 0 to 1. Violation of a certificate, relative to its
    objective, at which the conic optimizer proposes it. */
#define TVN_DPAR_INTPNT_CO_TOL_MU_RED 18 /* default 1e-8, 0 to 1. No effect yet. */
#define TVN_DPAR_INTPNT_CO_TOL_NEAR_REL 19 /* default 100, >= 1. A conic optimum or certificate within so many times
    the tolerances is near. */
#define TVN_DPAR_INTPNT_CO_TOL_PFEAS 20 /* default 1e-8, 0 to 1. Primal residual that the conic optimizer aims at,
    relative to the right-hand sides. */
#define TVN_DPAR_INTPNT_CO_TOL_REL_GAP 21 /* default 1e-8, 0 to 1. Gap between the objectives that the conic optimizer
    aims at, relative to the objective. */
#define TVN_DPAR_INTPNT_NL_MERIT_BAL 22 /* default 0.0001, 0 to 0.99. No effect yet. */
#define TVN_DPAR_INTPNT_NL_TOL_DFEAS 23 /* default 1e-8, 0 to 1. No effect yet. */
#define TVN_DPAR_INTPNT_NL_TOL_MU_RED 24 /* default 1e-12, 0 to 1. No effect yet. */
#define TVN_DPAR_INTPNT_NL_TOL_NEAR_REL 25 /* default 1000, >= 1. No effect yet. */
#define TVN_DPAR_INTPNT_NL_TOL_PFEAS 26 /* default 1e-8, 0 to 1. No effect yet. */
#define TVN_DPAR_INTPNT_NL_TOL_REL_GAP 27 /* default 1e-6, >= 1e-14. No effect yet. */
#define TVN_DPAR_INTPNT_NL_TOL_REL_STEP 28 /* default 0.995, 0.0001 to 1. No effect yet. */
#define TVN_DPAR_INTPNT_TOL_DFEAS 29 /* default 1e-8, 0 to 1. Dual residual that the interior-point optimizer aims at,
    relative to the costs. */
#define TVN_DPAR_INTPNT_TOL_DSAFE 30 /* default 1, >= 0.0001. Size of the dual start of the interior-point optimizer.
    */
#define TVN_DPAR_INTPNT_TOL_INFEAS 31 /* default 1e-8, 0 to 1. Violation of a certificate, relative to its objective,
    at which the interior-point optimizer proposes it. */
#define TVN_DPAR_INTPNT_TOL_MU_RED 32 /* default 1e-16, 0 to 1. No effect yet. */
#define TVN_DPAR_INTPNT_TOL_PATH 33 /* default 1e-8, 0 to 0.9999. How close the interior-point optimizer keeps to the
    central path. */
#define TVN_DPAR_INTPNT_TOL_PFEAS 34 /* default 1e-8, 0 to 1. Primal residual that the interior-point optimizer aims
    at, relative to the right-hand sides. */
#define TVN_DPAR_INTPNT_TOL_PSAFE 35 /* default 1, >= 0.0001. Size of the primal start of the interior-point
    optimizer. */
#define TVN_DPAR_INTPNT_TOL_REL_GAP 36 /* default 1e-8, >= 1e-14. Gap between the objectives that the interior-point
    optimizer aims at, relative to the objective. */
#define TVN_DPAR_INTPNT_TOL_REL_STEP 37 /* default 0.9999, 0.0001 to 0.999999. Share of the way to the border that a
    step of the interior-point optimizer may go. */
#define TVN_DPAR_INTPNT_TOL_STEP_SIZE 38 /* default 1e-10, 0 to 1. A shorter step of the interior-point optimizer is
    none. */
#define TVN_DPAR_LOWER_OBJ_CUT 39 /* default -1e30. A minimisation ends with TVN_RES_TRM_OBJECTIVE_RANGE once a
    feasible point has a lower objective. */
#define TVN_DPAR_LOWER_OBJ_CUT_FINITE_TRH 40 /* default -5e29. A lower cut that is no larger does not count. */
#define TVN_DPAR_MIO_DISABLE_TERM_TIME 41 /* default -1. No effect yet. */
#define TVN_DPAR_MIO_HEURISTIC_TIME 42 /* default -1. No effect yet. */
#define TVN_DPAR_MIO_MAX_TIME 43 /* default -1. No effect yet. */
#define TVN_DPAR_MIO_MAX_TIME_APRX_OPT 44 /* default 60, >= 0. No effect yet. */
#define TVN_DPAR_MIO_NEAR_TOL_ABS_GAP 45 /* default 0, >= 0. No effect yet. */
#define TVN_DPAR_MIO_NEAR_TOL_REL_GAP 46 /* default 0.001, >= 0. No effect yet. */
#define TVN_DPAR_MIO_REL_ADD_CUT_LIMITED 47 /* default 0.75, 0 to 2. No effect yet. */
#define TVN_DPAR_MIO_REL_GAP_CONST 48 /* default 1e-10, >= 1e-15. No effect yet. */
#define TVN_DPAR_MIO_TOL_ABS_GAP 49 /* default 0, >= 0. No effect yet. */
#define TVN_DPAR_MIO_TOL_ABS_RELAX_INT 50 /* default 1e-5, >= 0. No effect yet. */
#define TVN_DPAR_MIO_TOL_FEAS 51 /* default 1e-7, >= 0. No effect yet. */
#define TVN_DPAR_MIO_TOL_REL_GAP 52 /* default 0.0001, >= 0. No effect yet. */
#define TVN_DPAR_MIO_TOL_REL_RELAX_INT 53 /* default 1e-6, >= 0. No effect yet. */
#define TVN_DPAR_MIO_TOL_X 54 /* default 1e-6, >= 0. No effect yet. */
#define TVN_DPAR_NONCONVEX_TOL_FEAS 55 /* default 1e-6, >= 0. No effect yet. */
#define TVN_DPAR_NONCONVEX_TOL_OPT 56 /* default 1e-7, >= 0. No effect yet. */
#define TVN_DPAR_OPTIMIZER_MAX_TIME 57 /* default -1. Seconds after which a run ends with TVN_RES_TRM_MAX_TIME;
    negative for no limit. */
#define TVN_DPAR_PRESOLVE_TOL_AIJ 58 /* default 1e-12, >= 1e-15. Coefficients made smaller than this by a substitution
    are dropped. */
#define TVN_DPAR_PRESOLVE_TOL_LIN_DEP 59 /* default 1e-6, >= 0. Right-hand sides of dependent rows that differ by more
    prove infeasibility. */
#define TVN_DPAR_PRESOLVE_TOL_S 60 /* default 1e-8, >= 0. Dual tolerance of the presolve. */
#define TVN_DPAR_PRESOLVE_TOL_X 61 /* default 1e-8, >= 0. Feasibility tolerance of the presolve. */
#define TVN_DPAR_QCQO_REFORMULATE_REL_DROP_TOL 62 /* default 1e-15, >= 0. No effect yet. */
#define TVN_DPAR_SIM_LU_TOL_REL_PIV 63 /* default 0.01, 1e-6 to 0.999999. Pivots of the factorisation are at least
    this share of the largest element of their column. Larger is more stable and fills more. */
#define TVN_DPAR_SIMPLEX_ABS_TOL_PIV 64 /* default 1e-7, >= 1e-12. Smaller pivots of an iteration count as zero at the
    start. Bad pivots raise it tenfold, up to 1e-4 in the primal simplex and 1e-5 in the dual one or what is set here;
    calm times lower it again, in the dual down to 1e-10. Where only smaller ones are left the primal takes them, as
    it does after a ray that does not hold. */
#define TVN_DPAR_UPPER_OBJ_CUT 65 /* default 1e30. A maximisation ends with TVN_RES_TRM_OBJECTIVE_RANGE once a
    feasible point has a higher objective. */
#define TVN_DPAR_UPPER_OBJ_CUT_FINITE_TRH 66 /* default 5e29. An upper cut that is no smaller does not count. */

/* string parameters */
#define TVN_SPAR_BAS_SOL_FILE_NAME 0 /* No effect yet. */
#define TVN_SPAR_DATA_FILE_NAME 1 /* The file that TVN_readdata reads when it is given no name. */
#define TVN_SPAR_DEBUG_FILE_NAME 2 /* The file that receives the report of a fatal internal error. */
#define TVN_SPAR_FEASREPAIR_NAME_PREFIX 3 /* default "TVN-". No effect yet. */
#define TVN_SPAR_FEASREPAIR_NAME_SEPARATOR 4 /* default "-". No effect yet. */
#define TVN_SPAR_FEASREPAIR_NAME_WSUMVIOL 5 /* default "WSUMVIOL". No effect yet. */
#define TVN_SPAR_INT_SOL_FILE_NAME 6 /* No effect yet. */
#define TVN_SPAR_ITR_SOL_FILE_NAME 7 /* No effect yet. */
#define TVN_SPAR_PARAM_COMMENT_SIGN 8 /* default "%%". What starts a comment in a parameter file. */
#define TVN_SPAR_PARAM_READ_FILE_NAME 9 /* The file that TVN_readparamfile reads. */
#define TVN_SPAR_PARAM_WRITE_FILE_NAME 10 /* The file that TVN_writeparamfile writes when it is given no name. */
#define TVN_SPAR_READ_MPS_BOU_NAME 11 /* The vector of BOUNDS that is used, the first when empty. */
#define TVN_SPAR_READ_MPS_OBJ_NAME 12 /* The row of type N that is the objective, the first when empty. */
#define TVN_SPAR_READ_MPS_RAN_NAME 13 /* The vector of RANGES that is used, the first when empty. */
#define TVN_SPAR_READ_MPS_RHS_NAME 14 /* The vector of RHS that is used, the first when empty. */
#define TVN_SPAR_SENSITIVITY_FILE_NAME 15 /* No effect yet. */
#define TVN_SPAR_SENSITIVITY_RES_FILE_NAME 16 /* No effect yet. */
#define TVN_SPAR_SOL_FILTER_XC_LOW 17 /* No effect yet. */
#define TVN_SPAR_SOL_FILTER_XC_UPR 18 /* No effect yet. */
#define TVN_SPAR_SOL_FILTER_XX_LOW 19 /* No effect yet. */
#define TVN_SPAR_SOL_FILTER_XX_UPR 20 /* No effect yet. */
#define TVN_SPAR_STAT_FILE_NAME 21 /* No effect yet. */
#define TVN_SPAR_STAT_KEY 22 /* No effect yet. */
#define TVN_SPAR_STAT_NAME 23 /* No effect yet. */
#define TVN_SPAR_WRITE_LP_GEN_VAR_NAME 24 /* default "XTVNGEN". Name of the variable that carries the constant of the
    objective in an LP file, when CFIX is taken. */

/* double information items */
#define TVN_DINF_BI_CLEAN_DUAL_TIME 0
#define TVN_DINF_BI_CLEAN_PRIMAL_DUAL_TIME 1
#define TVN_DINF_BI_CLEAN_PRIMAL_TIME 2
#define TVN_DINF_BI_CLEAN_TIME 3
#define TVN_DINF_BI_DUAL_TIME 4
#define TVN_DINF_BI_PRIMAL_TIME 5
#define TVN_DINF_BI_TIME 6
#define TVN_DINF_CONCURRENT_TIME 7
#define TVN_DINF_INTPNT_DUAL_FEAS 8
#define TVN_DINF_INTPNT_DUAL_OBJ 9
#define TVN_DINF_INTPNT_FACTOR_NUM_FLOPS 10
#define TVN_DINF_INTPNT_KAP_DIV_TAU 11
#define TVN_DINF_INTPNT_ORDER_TIME 12
#define TVN_DINF_INTPNT_PRIMAL_FEAS 13
#define TVN_DINF_INTPNT_PRIMAL_OBJ 14
#define TVN_DINF_INTPNT_TIME 15
#define TVN_DINF_MIO_CONSTRUCT_SOLUTION_OBJ 16
#define TVN_DINF_MIO_HEURISTIC_TIME 17
#define TVN_DINF_MIO_OBJ_ABS_GAP 18
#define TVN_DINF_MIO_OBJ_BOUND 19
#define TVN_DINF_MIO_OBJ_INT 20
#define TVN_DINF_MIO_OBJ_REL_GAP 21
#define TVN_DINF_MIO_OPTIMIZER_TIME 22
#define TVN_DINF_MIO_ROOT_OPTIMIZER_TIME 23
#define TVN_DINF_MIO_ROOT_PRESOLVE_TIME 24
#define TVN_DINF_MIO_TIME 25
#define TVN_DINF_MIO_USER_OBJ_CUT 26
#define TVN_DINF_OPTIMIZER_TIME 27
#define TVN_DINF_PRESOLVE_ELI_TIME 28
#define TVN_DINF_PRESOLVE_LINDEP_TIME 29
#define TVN_DINF_PRESOLVE_TIME 30
#define TVN_DINF_QCQO_REFORMULATE_TIME 31
#define TVN_DINF_RD_TIME 32
#define TVN_DINF_SIM_DUAL_TIME 33
#define TVN_DINF_SIM_FEAS 34
#define TVN_DINF_SIM_NETWORK_DUAL_TIME 35
#define TVN_DINF_SIM_NETWORK_PRIMAL_TIME 36
#define TVN_DINF_SIM_NETWORK_TIME 37
#define TVN_DINF_SIM_OBJ 38
#define TVN_DINF_SIM_PRIMAL_DUAL_TIME 39
#define TVN_DINF_SIM_PRIMAL_TIME 40
#define TVN_DINF_SIM_TIME 41
#define TVN_DINF_SOL_BAS_DUAL_OBJ 42
#define TVN_DINF_SOL_BAS_MAX_DBI 43
#define TVN_DINF_SOL_BAS_MAX_DEQI 44
#define TVN_DINF_SOL_BAS_MAX_PBI 45
#define TVN_DINF_SOL_BAS_MAX_PEQI 46
#define TVN_DINF_SOL_BAS_MAX_PINTI 47
#define TVN_DINF_SOL_BAS_PRIMAL_OBJ 48
#define TVN_DINF_SOL_INT_MAX_PBI 49
#define TVN_DINF_SOL_INT_MAX_PEQI 50
#define TVN_DINF_SOL_INT_MAX_PINTI 51
#define TVN_DINF_SOL_INT_PRIMAL_OBJ 52
#define TVN_DINF_SOL_ITR_DUAL_OBJ 53
#define TVN_DINF_SOL_ITR_MAX_DBI 54
#define TVN_DINF_SOL_ITR_MAX_DCNI 55
#define TVN_DINF_SOL_ITR_MAX_DEQI 56
#define TVN_DINF_SOL_ITR_MAX_PBI 57
#define TVN_DINF_SOL_ITR_MAX_PCNI 58
#define TVN_DINF_SOL_ITR_MAX_PEQI 59
#define TVN_DINF_SOL_ITR_MAX_PINTI 60
#define TVN_DINF_SOL_ITR_PRIMAL_OBJ 61

/* integer information items */
#define TVN_IINF_ANA_PRO_NUM_CON 0
#define TVN_IINF_ANA_PRO_NUM_CON_EQ 1
#define TVN_IINF_ANA_PRO_NUM_CON_FR 2
#define TVN_IINF_ANA_PRO_NUM_CON_LO 3
#define TVN_IINF_ANA_PRO_NUM_CON_RA 4
#define TVN_IINF_ANA_PRO_NUM_CON_UP 5
#define TVN_IINF_ANA_PRO_NUM_VAR 6
#define TVN_IINF_ANA_PRO_NUM_VAR_BIN 7
#define TVN_IINF_ANA_PRO_NUM_VAR_CONT 8
#define TVN_IINF_ANA_PRO_NUM_VAR_EQ 9
#define TVN_IINF_ANA_PRO_NUM_VAR_FR 10
#define TVN_IINF_ANA_PRO_NUM_VAR_INT 11
#define TVN_IINF_ANA_PRO_NUM_VAR_LO 12
#define TVN_IINF_ANA_PRO_NUM_VAR_RA 13
#define TVN_IINF_ANA_PRO_NUM_VAR_UP 14
#define TVN_IINF_CACHE_SIZE_L1 15
#define TVN_IINF_CACHE_SIZE_L2 16
#define TVN_IINF_CONCURRENT_FASTEST_OPTIMIZER 17
#define TVN_IINF_CPU_TYPE 18
#define TVN_IINF_INTPNT_FACTOR_NUM_OFFCOL 19
#define TVN_IINF_INTPNT_ITER 20
#define TVN_IINF_INTPNT_NUM_THREADS 21
#define TVN_IINF_INTPNT_SOLVE_DUAL 22
#define TVN_IINF_MIO_CONSTRUCT_SOLUTION 23
#define TVN_IINF_MIO_INITIAL_SOLUTION 24
#define TVN_IINF_MIO_NUM_ACTIVE_NODES 25
#define TVN_IINF_MIO_NUM_BRANCH 26
#define TVN_IINF_MIO_NUM_CUTS 27
#define TVN_IINF_MIO_NUM_INT_SOLUTIONS 28
#define TVN_IINF_MIO_NUM_RELAX 29
#define TVN_IINF_MIO_NUMCON 30
#define TVN_IINF_MIO_NUMINT 31
#define TVN_IINF_MIO_NUMVAR 32
#define TVN_IINF_MIO_TOTAL_NUM_BASIS_CUTS 33
#define TVN_IINF_MIO_TOTAL_NUM_BRANCH 34
#define TVN_IINF_MIO_TOTAL_NUM_CARDGUB_CUTS 35
#define TVN_IINF_MIO_TOTAL_NUM_CLIQUE_CUTS 36
#define TVN_IINF_MIO_TOTAL_NUM_COEF_REDC_CUTS 37
#define TVN_IINF_MIO_TOTAL_NUM_CONTRA_CUTS 38
#define TVN_IINF_MIO_TOTAL_NUM_CUTS 39
#define TVN_IINF_MIO_TOTAL_NUM_DISAGG_CUTS 40
#define TVN_IINF_MIO_TOTAL_NUM_FLOW_COVER_CUTS 41
#define TVN_IINF_MIO_TOTAL_NUM_GCD_CUTS 42
#define TVN_IINF_MIO_TOTAL_NUM_GOMORY_CUTS 43
#define TVN_IINF_MIO_TOTAL_NUM_GUB_COVER_CUTS 44
#define TVN_IINF_MIO_TOTAL_NUM_KNAPSUR_COVER_CUTS 45
#define TVN_IINF_MIO_TOTAL_NUM_LATTICE_CUTS 46
#define TVN_IINF_MIO_TOTAL_NUM_LIFT_CUTS 47
#define TVN_IINF_MIO_TOTAL_NUM_OBJ_CUTS 48
#define TVN_IINF_MIO_TOTAL_NUM_PLAN_LOC_CUTS 49
#define TVN_IINF_MIO_TOTAL_NUM_RELAX 50
#define TVN_IINF_MIO_USER_OBJ_CUT 51
#define TVN_IINF_OPT_NUMCON 52
#define TVN_IINF_OPT_NUMVAR 53
#define TVN_IINF_OPTIMIZE_RESPONSE 54
#define TVN_IINF_RD_NUMCON 55
#define TVN_IINF_RD_NUMCONE 56
#define TVN_IINF_RD_NUMINTVAR 57
#define TVN_IINF_RD_NUMQ 58
#define TVN_IINF_RD_NUMVAR 59
#define TVN_IINF_RD_PROTYPE 60
#define TVN_IINF_SIM_DUAL_DEG_ITER 61
#define TVN_IINF_SIM_DUAL_HOTSTART 62
#define TVN_IINF_SIM_DUAL_HOTSTART_LU 63
#define TVN_IINF_SIM_DUAL_INF_ITER 64
#define TVN_IINF_SIM_DUAL_ITER 65
#define TVN_IINF_SIM_NETWORK_DUAL_DEG_ITER 66
#define TVN_IINF_SIM_NETWORK_DUAL_HOTSTART 67
#define TVN_IINF_SIM_NETWORK_DUAL_HOTSTART_LU 68
#define TVN_IINF_SIM_NETWORK_DUAL_INF_ITER 69
#define TVN_IINF_SIM_NETWORK_DUAL_ITER 70
#define TVN_IINF_SIM_NETWORK_PRIMAL_DEG_ITER 71
#define TVN_IINF_SIM_NETWORK_PRIMAL_HOTSTART 72
#define TVN_IINF_SIM_NETWORK_PRIMAL_HOTSTART_LU 73
#define TVN_IINF_SIM_NETWORK_PRIMAL_INF_ITER 74
#define TVN_IINF_SIM_NETWORK_PRIMAL_ITER 75
#define TVN_IINF_SIM_NUMCON 76
#define TVN_IINF_SIM_NUMVAR 77
#define TVN_IINF_SIM_PRIMAL_DEG_ITER 78
#define TVN_IINF_SIM_PRIMAL_DUAL_DEG_ITER 79
#define TVN_IINF_SIM_PRIMAL_DUAL_HOTSTART 80
#define TVN_IINF_SIM_PRIMAL_DUAL_HOTSTART_LU 81
#define TVN_IINF_SIM_PRIMAL_DUAL_INF_ITER 82
#define TVN_IINF_SIM_PRIMAL_DUAL_ITER 83
#define TVN_IINF_SIM_PRIMAL_HOTSTART 84
#define TVN_IINF_SIM_PRIMAL_HOTSTART_LU 85
#define TVN_IINF_SIM_PRIMAL_INF_ITER 86
#define TVN_IINF_SIM_PRIMAL_ITER 87
#define TVN_IINF_SIM_SOLVE_DUAL 88
#define TVN_IINF_SOL_BAS_PROSTA 89
#define TVN_IINF_SOL_BAS_SOLSTA 90
#define TVN_IINF_SOL_INT_PROSTA 91
#define TVN_IINF_SOL_INT_SOLSTA 92
#define TVN_IINF_SOL_ITR_PROSTA 93
#define TVN_IINF_SOL_ITR_SOLSTA 94
#define TVN_IINF_STO_NUM_A_CACHE_FLUSHES 95
#define TVN_IINF_STO_NUM_A_REALLOC 96
#define TVN_IINF_STO_NUM_A_TRANSPOSES 97

/* long integer information items */
#define TVN_LIINF_BI_CLEAN_DUAL_DEG_ITER 0
#define TVN_LIINF_BI_CLEAN_DUAL_ITER 1
#define TVN_LIINF_BI_CLEAN_PRIMAL_DEG_ITER 2
#define TVN_LIINF_BI_CLEAN_PRIMAL_DUAL_DEG_ITER 3
#define TVN_LIINF_BI_CLEAN_PRIMAL_DUAL_ITER 4
#define TVN_LIINF_BI_CLEAN_PRIMAL_DUAL_SUB_ITER 5
#define TVN_LIINF_BI_CLEAN_PRIMAL_ITER 6
#define TVN_LIINF_BI_DUAL_ITER 7
#define TVN_LIINF_BI_PRIMAL_ITER 8
#define TVN_LIINF_INTPNT_FACTOR_NUM_NZ 9
#define TVN_LIINF_MIO_INTPNT_ITER 10
#define TVN_LIINF_MIO_SIMPLEX_ITER 11
#define TVN_LIINF_RD_NUMANZ 12
#define TVN_LIINF_RD_NUMQNZ 13

/* response codes */
#define TVN_RES_OK 0
#define TVN_RES_WRN_OPEN_PARAM_FILE 50
#define TVN_RES_WRN_LARGE_BOUND 51
#define TVN_RES_WRN_LARGE_LO_BOUND 52
#define TVN_RES_WRN_LARGE_UP_BOUND 53
#define TVN_RES_WRN_LARGE_CON_FX 54
#define TVN_RES_WRN_LARGE_CJ 57
#define TVN_RES_WRN_LARGE_AIJ 62
#define TVN_RES_WRN_ZERO_AIJ 63
#define TVN_RES_WRN_NAME_MAX_LEN 65
#define TVN_RES_WRN_SPAR_MAX_LEN 66
#define TVN_RES_WRN_MPS_SPLIT_RHS_VECTOR 70
#define TVN_RES_WRN_MPS_SPLIT_RAN_VECTOR 71
#define TVN_RES_WRN_MPS_SPLIT_BOU_VECTOR 72
#define TVN_RES_WRN_LP_OLD_QUAD_FORMAT 80
#define TVN_RES_WRN_LP_DROP_VARIABLE 85
#define TVN_RES_WRN_NZ_IN_UPR_TRI 200
#define TVN_RES_WRN_DROPPED_NZ_QOBJ 201
#define TVN_RES_WRN_IGNORE_INTEGER 250
#define TVN_RES_WRN_NO_GLOBAL_OPTIMIZER 251
#define TVN_RES_WRN_MIO_INFEASIBLE_FINAL 270
#define TVN_RES_WRN_SOL_FILTER 300
#define TVN_RES_WRN_UNDEF_SOL_FILE_NAME 350
#define TVN_RES_WRN_SOL_FILE_IGNORED_CON 351
#define TVN_RES_WRN_SOL_FILE_IGNORED_VAR 352
#define TVN_RES_WRN_TOO_FEW_BASIS_VARS 400
#define TVN_RES_WRN_TOO_MANY_BASIS_VARS 405
#define TVN_RES_WRN_EMPTY_NAME 502
#define TVN_RES_WRN_USING_GENERIC_NAMES 503
#define TVN_RES_WRN_ZEROS_IN_SPARSE_ROW 705
#define TVN_RES_WRN_ZEROS_IN_SPARSE_COL 710
#define TVN_RES_WRN_INCOMPLETE_LINEAR_DEPENDENCY_CHECK 800
#define TVN_RES_WRN_ELIMINATOR_SPACE 801
#define TVN_RES_WRN_PRESOLVE_OUTOFSPACE 802
#define TVN_RES_WRN_PRESOLVE_BAD_PRECISION 803
#define TVN_RES_WRN_WRITE_DISCARDED_CFIX 804
#define TVN_RES_WRN_CONSTRUCT_SOLUTION_INFEAS 805
#define TVN_RES_WRN_CONSTRUCT_INVALID_SOL_ITG 807
#define TVN_RES_WRN_CONSTRUCT_NO_SOL_ITG 810
#define TVN_RES_WRN_ANA_LARGE_BOUNDS 900
#define TVN_RES_WRN_ANA_C_ZERO 901
#define TVN_RES_WRN_ANA_EMPTY_COLS 902
#define TVN_RES_WRN_ANA_CLOSE_BOUNDS 903
#define TVN_RES_WRN_ANA_ALMOST_INT_BOUNDS 904
#define TVN_RES_ERR_OPEN_DL 1030
#define TVN_RES_ERR_OLDER_DLL 1035
#define TVN_RES_ERR_NEWER_DLL 1036
#define TVN_RES_ERR_LINK_FILE_DLL 1040
#define TVN_RES_ERR_THREAD_MUTEX_INIT 1045
#define TVN_RES_ERR_THREAD_MUTEX_LOCK 1046
#define TVN_RES_ERR_THREAD_MUTEX_UNLOCK 1047
#define TVN_RES_ERR_THREAD_CREATE 1048
#define TVN_RES_ERR_THREAD_COND_INIT 1049
#define TVN_RES_ERR_UNKNOWN 1050
#define TVN_RES_ERR_SPACE 1051
#define TVN_RES_ERR_FILE_OPEN 1052
#define TVN_RES_ERR_FILE_READ 1053
#define TVN_RES_ERR_FILE_WRITE 1054
#define TVN_RES_ERR_DATA_FILE_EXT 1055
#define TVN_RES_ERR_INVALID_FILE_NAME 1056
#define TVN_RES_ERR_INVALID_SOL_FILE_NAME 1057
#define TVN_RES_ERR_INVALID_TBT_FILE 1058
#define TVN_RES_ERR_END_OF_FILE 1059
#define TVN_RES_ERR_NULL_ENV 1060
#define TVN_RES_ERR_NULL_TASK 1061
#define TVN_RES_ERR_INVALID_STREAM 1062
#define TVN_RES_ERR_NO_INIT_ENV 1063
#define TVN_RES_ERR_INVALID_TASK 1064
#define TVN_RES_ERR_NULL_POINTER 1065
#define TVN_RES_ERR_LIVING_TASKS 1066
#define TVN_RES_ERR_BLANK_NAME 1070
#define TVN_RES_ERR_DUP_NAME 1071
#define TVN_RES_ERR_INVALID_OBJ_NAME 1075
#define TVN_RES_ERR_SPACE_LEAKING 1080
#define TVN_RES_ERR_SPACE_NO_INFO 1081
#define TVN_RES_ERR_READ_FORMAT 1090
#define TVN_RES_ERR_MPS_FILE 1100
#define TVN_RES_ERR_MPS_INV_FIELD 1101
#define TVN_RES_ERR_MPS_INV_MARKER 1102
#define TVN_RES_ERR_MPS_NULL_CON_NAME 1103
#define TVN_RES_ERR_MPS_NULL_VAR_NAME 1104
#define TVN_RES_ERR_MPS_UNDEF_CON_NAME 1105
#define TVN_RES_ERR_MPS_UNDEF_VAR_NAME 1106
#define TVN_RES_ERR_MPS_INV_CON_KEY 1107
#define TVN_RES_ERR_MPS_INV_BOUND_KEY 1108
#define TVN_RES_ERR_MPS_INV_SEC_NAME 1109
#define TVN_RES_ERR_MPS_NO_OBJECTIVE 1110
#define TVN_RES_ERR_MPS_SPLITTED_VAR 1111
#define TVN_RES_ERR_MPS_MUL_CON_NAME 1112
#define TVN_RES_ERR_MPS_MUL_QSEC 1113
#define TVN_RES_ERR_MPS_MUL_QOBJ 1114
#define TVN_RES_ERR_MPS_INV_SEC_ORDER 1115
#define TVN_RES_ERR_MPS_MUL_CSEC 1116
#define TVN_RES_ERR_MPS_CONE_TYPE 1117
#define TVN_RES_ERR_MPS_CONE_OVERLAP 1118
#define TVN_RES_ERR_MPS_CONE_REPEAT 1119
#define TVN_RES_ERR_MPS_INVALID_OBJSENSE 1122
#define TVN_RES_ERR_MPS_TAB_IN_FIELD2 1125
#define TVN_RES_ERR_MPS_TAB_IN_FIELD3 1126
#define TVN_RES_ERR_MPS_TAB_IN_FIELD5 1127
#define TVN_RES_ERR_MPS_INVALID_OBJ_NAME 1128
#define TVN_RES_ERR_ORD_INVALID_BRANCH_DIR 1130
#define TVN_RES_ERR_ORD_INVALID 1131
#define TVN_RES_ERR_LP_INCOMPATIBLE 1150
#define TVN_RES_ERR_LP_EMPTY 1151
#define TVN_RES_ERR_LP_DUP_SLACK_NAME 1152
#define TVN_RES_ERR_WRITE_MPS_INVALID_NAME 1153
#define TVN_RES_ERR_LP_INVALID_VAR_NAME 1154
#define TVN_RES_ERR_LP_FREE_CONSTRAINT 1155
#define TVN_RES_ERR_WRITE_OPF_INVALID_VAR_NAME 1156
#define TVN_RES_ERR_LP_FILE_FORMAT 1157
#define TVN_RES_ERR_WRITE_LP_FORMAT 1158
#define TVN_RES_ERR_READ_LP_MISSING_END_TAG 1159
#define TVN_RES_ERR_LP_FORMAT 1160
#define TVN_RES_ERR_WRITE_LP_NON_UNIQUE_NAME 1161
#define TVN_RES_ERR_READ_LP_NONEXISTING_NAME 1162
#define TVN_RES_ERR_LP_WRITE_CONIC_PROBLEM 1163
#define TVN_RES_ERR_LP_WRITE_GECO_PROBLEM 1164
#define TVN_RES_ERR_WRITING_FILE 1166
#define TVN_RES_ERR_OPF_FORMAT 1168
#define TVN_RES_ERR_OPF_NEW_VARIABLE 1169
#define TVN_RES_ERR_INVALID_NAME_IN_SOL_FILE 1170
#define TVN_RES_ERR_LP_INVALID_CON_NAME 1171
#define TVN_RES_ERR_OPF_PREMATURE_EOF 1172
#define TVN_RES_ERR_ARGUMENT_LENNEQ 1197
#define TVN_RES_ERR_ARGUMENT_TYPE 1198
#define TVN_RES_ERR_NR_ARGUMENTS 1199
#define TVN_RES_ERR_IN_ARGUMENT 1200
#define TVN_RES_ERR_ARGUMENT_DIMENSION 1201
#define TVN_RES_ERR_INDEX_IS_TOO_SMALL 1203
#define TVN_RES_ERR_INDEX_IS_TOO_LARGE 1204
#define TVN_RES_ERR_PARAM_NAME 1205
#define TVN_RES_ERR_PARAM_NAME_DOU 1206
#define TVN_RES_ERR_PARAM_NAME_INT 1207
#define TVN_RES_ERR_PARAM_NAME_STR 1208
#define TVN_RES_ERR_PARAM_INDEX 1210
#define TVN_RES_ERR_PARAM_IS_TOO_LARGE 1215
#define TVN_RES_ERR_PARAM_IS_TOO_SMALL 1216
#define TVN_RES_ERR_PARAM_VALUE_STR 1217
#define TVN_RES_ERR_PARAM_TYPE 1218
#define TVN_RES_ERR_INF_DOU_INDEX 1219
#define TVN_RES_ERR_INF_INT_INDEX 1220
#define TVN_RES_ERR_INDEX_ARR_IS_TOO_SMALL 1221
#define TVN_RES_ERR_INDEX_ARR_IS_TOO_LARGE 1222
#define TVN_RES_ERR_INF_LINT_INDEX 1225
#define TVN_RES_ERR_INF_DOU_NAME 1230
#define TVN_RES_ERR_INF_INT_NAME 1231
#define TVN_RES_ERR_INF_TYPE 1232
#define TVN_RES_ERR_INF_LINT_NAME 1234
#define TVN_RES_ERR_INDEX 1235
#define TVN_RES_ERR_WHICHSOL 1236
#define TVN_RES_ERR_SOLITEM 1237
#define TVN_RES_ERR_WHICHITEM_NOT_ALLOWED 1238
#define TVN_RES_ERR_MAXNUMCON 1240
#define TVN_RES_ERR_MAXNUMVAR 1241
#define TVN_RES_ERR_MAXNUMQNZ 1243
#define TVN_RES_ERR_NUMCONLIM 1250
#define TVN_RES_ERR_NUMVARLIM 1251
#define TVN_RES_ERR_TOO_SMALL_MAXNUMANZ 1252
#define TVN_RES_ERR_INV_APTRE 1253
#define TVN_RES_ERR_MUL_A_ELEMENT 1254
#define TVN_RES_ERR_INV_BK 1255
#define TVN_RES_ERR_INV_BKC 1256
#define TVN_RES_ERR_INV_BKX 1257
#define TVN_RES_ERR_INV_VAR_TYPE 1258
#define TVN_RES_ERR_SOLVER_PROBTYPE 1259
#define TVN_RES_ERR_OBJECTIVE_RANGE 1260
#define TVN_RES_ERR_FIRST 1261
#define TVN_RES_ERR_LAST 1262
#define TVN_RES_ERR_NEGATIVE_SURPLUS 1263
#define TVN_RES_ERR_NEGATIVE_APPEND 1264
#define TVN_RES_ERR_UNDEF_SOLUTION 1265
#define TVN_RES_ERR_BASIS 1266
#define TVN_RES_ERR_INV_SKC 1267
#define TVN_RES_ERR_INV_SKX 1268
#define TVN_RES_ERR_INV_SK_STR 1269
#define TVN_RES_ERR_INV_SK 1270
#define TVN_RES_ERR_INV_CONE_TYPE_STR 1271
#define TVN_RES_ERR_INV_CONE_TYPE 1272
#define TVN_RES_ERR_INV_SKN 1274
#define TVN_RES_ERR_INVALID_SURPLUS 1275
#define TVN_RES_ERR_INV_NAME_ITEM 1280
#define TVN_RES_ERR_PRO_ITEM 1281
#define TVN_RES_ERR_INVALID_FORMAT_TYPE 1283
#define TVN_RES_ERR_FIRSTI 1285
#define TVN_RES_ERR_LASTI 1286
#define TVN_RES_ERR_FIRSTJ 1287
#define TVN_RES_ERR_LASTJ 1288
#define TVN_RES_ERR_NONLINEAR_EQUALITY 1290
#define TVN_RES_ERR_NONCONVEX 1291
#define TVN_RES_ERR_NONLINEAR_RANGED 1292
#define TVN_RES_ERR_CON_Q_NOT_PSD 1293
#define TVN_RES_ERR_CON_Q_NOT_NSD 1294
#define TVN_RES_ERR_OBJ_Q_NOT_PSD 1295
#define TVN_RES_ERR_OBJ_Q_NOT_NSD 1296
#define TVN_RES_ERR_ARGUMENT_PERM_ARRAY 1299
#define TVN_RES_ERR_CONE_INDEX 1300
#define TVN_RES_ERR_CONE_SIZE 1301
#define TVN_RES_ERR_CONE_OVERLAP 1302
#define TVN_RES_ERR_CONE_REP_VAR 1303
#define TVN_RES_ERR_MAXNUMCONE 1304
#define TVN_RES_ERR_CONE_TYPE 1305
#define TVN_RES_ERR_CONE_TYPE_STR 1306
#define TVN_RES_ERR_REMOVE_CONE_VARIABLE 1310
#define TVN_RES_ERR_SOL_FILE_INVALID_NUMBER 1350
#define TVN_RES_ERR_HUGE_C 1375
#define TVN_RES_ERR_HUGE_AIJ 1380
#define TVN_RES_ERR_INFINITE_BOUND 1400
#define TVN_RES_ERR_INV_QOBJ_SUBI 1401
#define TVN_RES_ERR_INV_QOBJ_SUBJ 1402
#define TVN_RES_ERR_INV_QOBJ_VAL 1403
#define TVN_RES_ERR_INV_QCON_SUBK 1404
#define TVN_RES_ERR_INV_QCON_SUBI 1405
#define TVN_RES_ERR_INV_QCON_SUBJ 1406
#define TVN_RES_ERR_INV_QCON_VAL 1407
#define TVN_RES_ERR_QCON_SUBI_TOO_SMALL 1408
#define TVN_RES_ERR_QCON_SUBI_TOO_LARGE 1409
#define TVN_RES_ERR_QOBJ_UPPER_TRIANGLE 1415
#define TVN_RES_ERR_QCON_UPPER_TRIANGLE 1417
#define TVN_RES_ERR_FIXED_BOUND_VALUES 1425
#define TVN_RES_ERR_USER_FUNC_RET 1430
#define TVN_RES_ERR_USER_FUNC_RET_DATA 1431
#define TVN_RES_ERR_USER_NLO_FUNC 1432
#define TVN_RES_ERR_USER_NLO_EVAL 1433
#define TVN_RES_ERR_USER_NLO_EVAL_HESSUBI 1440
#define TVN_RES_ERR_USER_NLO_EVAL_HESSUBJ 1441
#define TVN_RES_ERR_INVALID_OBJECTIVE_SENSE 1445
#define TVN_RES_ERR_UNDEFINED_OBJECTIVE_SENSE 1446
#define TVN_RES_ERR_Y_IS_UNDEFINED 1449
#define TVN_RES_ERR_NAN_IN_DOUBLE_DATA 1450
#define TVN_RES_ERR_NAN_IN_BLC 1461
#define TVN_RES_ERR_NAN_IN_BUC 1462
#define TVN_RES_ERR_NAN_IN_C 1470
#define TVN_RES_ERR_NAN_IN_BLX 1471
#define TVN_RES_ERR_NAN_IN_BUX 1472
#define TVN_RES_ERR_NAN_IN_AIJ 1473
#define TVN_RES_ERR_INV_PROBLEM 1500
#define TVN_RES_ERR_MIXED_PROBLEM 1501
#define TVN_RES_ERR_INV_OPTIMIZER 1550
#define TVN_RES_ERR_MIO_NO_OPTIMIZER 1551
#define TVN_RES_ERR_NO_OPTIMIZER_VAR_TYPE 1552
#define TVN_RES_ERR_MIO_NOT_LOADED 1553
#define TVN_RES_ERR_POSTSOLVE 1580
#define TVN_RES_ERR_OVERFLOW 1590
#define TVN_RES_ERR_NO_BASIS_SOL 1600
#define TVN_RES_ERR_BASIS_FACTOR 1610
#define TVN_RES_ERR_BASIS_SINGULAR 1615
#define TVN_RES_ERR_FACTOR 1650
#define TVN_RES_ERR_FEASREPAIR_CANNOT_RELAX 1700
#define TVN_RES_ERR_FEASREPAIR_SOLVING_RELAXED 1701
#define TVN_RES_ERR_FEASREPAIR_INCONSISTENT_BOUND 1702
#define TVN_RES_ERR_NAME_MAX_LEN 1750
#define TVN_RES_ERR_NAME_IS_NULL 1760
#define TVN_RES_ERR_INVALID_COMPRESSION 1800
#define TVN_RES_ERR_INVALID_IOMODE 1801
#define TVN_RES_ERR_NO_PRIMAL_INFEAS_CER 2000
#define TVN_RES_ERR_NO_DUAL_INFEAS_CER 2001
#define TVN_RES_ERR_NO_SOLUTION_IN_CALLBACK 2500
#define TVN_RES_ERR_INV_MARKI 2501
#define TVN_RES_ERR_INV_MARKJ 2502
#define TVN_RES_ERR_INV_NUMI 2503
#define TVN_RES_ERR_INV_NUMJ 2504
#define TVN_RES_ERR_CANNOT_CLONE_NL 2505
#define TVN_RES_ERR_CANNOT_HANDLE_NL 2506
#define TVN_RES_ERR_INVALID_ACCMODE 2520
#define TVN_RES_ERR_TBT_INCOMPATIBLE 2550
#define TVN_RES_ERR_LU_MAX_NUM_TRIES 2800
#define TVN_RES_ERR_INVALID_UTF8 2900
#define TVN_RES_ERR_INVALID_WCHAR 2901
#define TVN_RES_ERR_NO_DUAL_FOR_ITG_SOL 2950
#define TVN_RES_ERR_INTERNAL 3000
#define TVN_RES_ERR_API_ARRAY_TOO_SMALL 3001
#define TVN_RES_ERR_API_CB_CONNECT 3002
#define TVN_RES_ERR_API_FATAL_ERROR 3005
#define TVN_RES_ERR_SEN_FORMAT 3050
#define TVN_RES_ERR_SEN_UNDEF_NAME 3051
#define TVN_RES_ERR_SEN_INDEX_RANGE 3052
#define TVN_RES_ERR_SEN_BOUND_INVALID_UP 3053
#define TVN_RES_ERR_SEN_BOUND_INVALID_LO 3054
#define TVN_RES_ERR_SEN_INDEX_INVALID 3055
#define TVN_RES_ERR_SEN_INVALID_REGEXP 3056
#define TVN_RES_ERR_SEN_SOLUTION_STATUS 3057
#define TVN_RES_ERR_SEN_NUMERICAL 3058
#define TVN_RES_ERR_CONCURRENT_OPTIMIZER 3059
#define TVN_RES_ERR_UNB_STEP_SIZE 3100
#define TVN_RES_ERR_IDENTICAL_TASKS 3101
#define TVN_RES_ERR_AD_INVALID_CODELIST 3102
#define TVN_RES_ERR_AD_INVALID_OPERATOR 3103
#define TVN_RES_ERR_AD_INVALID_OPERAND 3104
#define TVN_RES_ERR_AD_MISSING_OPERAND 3105
#define TVN_RES_ERR_AD_MISSING_RETURN 3106
#define TVN_RES_ERR_INVALID_BRANCH_DIRECTION 3200
#define TVN_RES_ERR_INVALID_BRANCH_PRIORITY 3201
#define TVN_RES_ERR_INTERNAL_TEST_FAILED 3500
#define TVN_RES_ERR_XML_INVALID_PROBLEM_TYPE 3600
#define TVN_RES_ERR_INVALID_AMPL_STUB 3700
#define TVN_RES_ERR_INT64_TO_INT32_CAST 3800
#define TVN_RES_ERR_INFEAS_UNDEFINED 3910
#define TVN_RES_ERR_API_INTERNAL 3999
#define TVN_RES_TRM_MAX_ITERATIONS 4000
#define TVN_RES_TRM_MAX_TIME 4001
#define TVN_RES_TRM_OBJECTIVE_RANGE 4002
#define TVN_RES_TRM_MIO_NEAR_REL_GAP 4003
#define TVN_RES_TRM_MIO_NEAR_ABS_GAP 4004
#define TVN_RES_TRM_USER_BREAK 4005
#define TVN_RES_TRM_STALL 4006
#define TVN_RES_TRM_USER_CALLBACK 4007
#define TVN_RES_TRM_MIO_NUM_RELAXS 4008
#define TVN_RES_TRM_MIO_NUM_BRANCHES 4009
#define TVN_RES_TRM_NUM_MAX_NUM_INT_SOLUTIONS 4015
#define TVN_RES_TRM_MAX_NUM_SETBACKS 4020
#define TVN_RES_TRM_NUMERICAL_PROBLEM 4025
#define TVN_RES_TRM_INTERNAL 4030
#define TVN_RES_TRM_INTERNAL_STOP 4031

/* codes of the progress callback */
#define TVN_CALLBACK_BEGIN_BI 0
#define TVN_CALLBACK_BEGIN_CONCURRENT 1
#define TVN_CALLBACK_BEGIN_CONIC 2
#define TVN_CALLBACK_BEGIN_DUAL_BI 3
#define TVN_CALLBACK_BEGIN_DUAL_SENSITIVITY 4
#define TVN_CALLBACK_BEGIN_DUAL_SETUP_BI 5
#define TVN_CALLBACK_BEGIN_DUAL_SIMPLEX 6
#define TVN_CALLBACK_BEGIN_DUAL_SIMPLEX_BI 7
#define TVN_CALLBACK_BEGIN_FULL_CONVEXITY_CHECK 8
#define TVN_CALLBACK_BEGIN_INFEAS_ANA 9
#define TVN_CALLBACK_BEGIN_INTPNT 10
#define TVN_CALLBACK_BEGIN_MIO 12
#define TVN_CALLBACK_BEGIN_NETWORK_DUAL_SIMPLEX 13
#define TVN_CALLBACK_BEGIN_NETWORK_PRIMAL_SIMPLEX 14
#define TVN_CALLBACK_BEGIN_NETWORK_SIMPLEX 15
#define TVN_CALLBACK_BEGIN_NONCONVEX 16
#define TVN_CALLBACK_BEGIN_OPTIMIZER 17
#define TVN_CALLBACK_BEGIN_PRESOLVE 18
#define TVN_CALLBACK_BEGIN_PRIMAL_BI 19
#define TVN_CALLBACK_BEGIN_PRIMAL_DUAL_SIMPLEX 20
#define TVN_CALLBACK_BEGIN_PRIMAL_DUAL_SIMPLEX_BI 21
#define TVN_CALLBACK_BEGIN_PRIMAL_SENSITIVITY 22
#define TVN_CALLBACK_BEGIN_PRIMAL_SETUP_BI 23
#define TVN_CALLBACK_BEGIN_PRIMAL_SIMPLEX 24
#define TVN_CALLBACK_BEGIN_PRIMAL_SIMPLEX_BI 25
#define TVN_CALLBACK_BEGIN_QCQO_REFORMULATE 26
#define TVN_CALLBACK_BEGIN_READ 27
#define TVN_CALLBACK_BEGIN_SIMPLEX 28
#define TVN_CALLBACK_BEGIN_SIMPLEX_BI 29
#define TVN_CALLBACK_BEGIN_SIMPLEX_NETWORK_DETECT 30
#define TVN_CALLBACK_BEGIN_WRITE 31
#define TVN_CALLBACK_CONIC 32
#define TVN_CALLBACK_DUAL_SIMPLEX 33
#define TVN_CALLBACK_END_BI 34
#define TVN_CALLBACK_END_CONCURRENT 35
#define TVN_CALLBACK_END_CONIC 36
#define TVN_CALLBACK_END_DUAL_BI 37
#define TVN_CALLBACK_END_DUAL_SENSITIVITY 38
#define TVN_CALLBACK_END_DUAL_SETUP_BI 39
#define TVN_CALLBACK_END_DUAL_SIMPLEX 40
#define TVN_CALLBACK_END_DUAL_SIMPLEX_BI 41
#define TVN_CALLBACK_END_FULL_CONVEXITY_CHECK 42
#define TVN_CALLBACK_END_INFEAS_ANA 43
#define TVN_CALLBACK_END_INTPNT 44
#define TVN_CALLBACK_END_MIO 46
#define TVN_CALLBACK_END_NETWORK_DUAL_SIMPLEX 47
#define TVN_CALLBACK_END_NETWORK_PRIMAL_SIMPLEX 48
#define TVN_CALLBACK_END_NETWORK_SIMPLEX 49
#define TVN_CALLBACK_END_NONCONVEX 50
#define TVN_CALLBACK_END_OPTIMIZER 51
#define TVN_CALLBACK_END_PRESOLVE 52
#define TVN_CALLBACK_END_PRIMAL_BI 53
#define TVN_CALLBACK_END_PRIMAL_DUAL_SIMPLEX 54
#define TVN_CALLBACK_END_PRIMAL_DUAL_SIMPLEX_BI 55
#define TVN_CALLBACK_END_PRIMAL_SENSITIVITY 56
#define TVN_CALLBACK_END_PRIMAL_SETUP_BI 57
#define TVN_CALLBACK_END_PRIMAL_SIMPLEX 58
#define TVN_CALLBACK_END_PRIMAL_SIMPLEX_BI 59
#define TVN_CALLBACK_END_QCQO_REFORMULATE 60
#define TVN_CALLBACK_END_READ 61
#define TVN_CALLBACK_END_SIMPLEX 62
#define TVN_CALLBACK_END_SIMPLEX_BI 63
#define TVN_CALLBACK_END_SIMPLEX_NETWORK_DETECT 64
#define TVN_CALLBACK_END_WRITE 65
#define TVN_CALLBACK_IM_BI 66
#define TVN_CALLBACK_IM_CONIC 67
#define TVN_CALLBACK_IM_DUAL_BI 68
#define TVN_CALLBACK_IM_DUAL_SENSIVITY 69
#define TVN_CALLBACK_IM_DUAL_SIMPLEX 70
#define TVN_CALLBACK_IM_FULL_CONVEXITY_CHECK 71
#define TVN_CALLBACK_IM_INTPNT 72
#define TVN_CALLBACK_IM_LU 74
#define TVN_CALLBACK_IM_MIO 75
#define TVN_CALLBACK_IM_MIO_DUAL_SIMPLEX 76
#define TVN_CALLBACK_IM_MIO_INTPNT 77
#define TVN_CALLBACK_IM_MIO_PRESOLVE 78
#define TVN_CALLBACK_IM_MIO_PRIMAL_SIMPLEX 79
#define TVN_CALLBACK_IM_NETWORK_DUAL_SIMPLEX 80
#define TVN_CALLBACK_IM_NETWORK_PRIMAL_SIMPLEX 81
#define TVN_CALLBACK_IM_NONCONVEX 82
#define TVN_CALLBACK_IM_ORDER 83
#define TVN_CALLBACK_IM_PRESOLVE 84
#define TVN_CALLBACK_IM_PRIMAL_BI 85
#define TVN_CALLBACK_IM_PRIMAL_DUAL_SIMPLEX 86
#define TVN_CALLBACK_IM_PRIMAL_SENSIVITY 87
#define TVN_CALLBACK_IM_PRIMAL_SIMPLEX 88
#define TVN_CALLBACK_IM_QO_REFORMULATE 89
#define TVN_CALLBACK_IM_SIMPLEX 90
#define TVN_CALLBACK_IM_SIMPLEX_BI 91
#define TVN_CALLBACK_INTPNT 92
#define TVN_CALLBACK_NEW_INT_MIO 93
#define TVN_CALLBACK_NONCOVEX 94
#define TVN_CALLBACK_PRIMAL_SIMPLEX 95
#define TVN_CALLBACK_QCONE 96
#define TVN_CALLBACK_READ_ADD_ANZ 97
#define TVN_CALLBACK_READ_ADD_CONES 98
#define TVN_CALLBACK_READ_ADD_CONS 99
#define TVN_CALLBACK_READ_ADD_QNZ 100
#define TVN_CALLBACK_READ_ADD_VARS 101
#define TVN_CALLBACK_READ_OPF 102
#define TVN_CALLBACK_READ_OPF_SECTION 103
#define TVN_CALLBACK_UPDATE_DUAL_BI 104
#define TVN_CALLBACK_UPDATE_DUAL_SIMPLEX 105
#define TVN_CALLBACK_UPDATE_DUAL_SIMPLEX_BI 106
#define TVN_CALLBACK_UPDATE_NETWORK_DUAL_SIMPLEX 107
#define TVN_CALLBACK_UPDATE_NETWORK_PRIMAL_SIMPLEX 108
#define TVN_CALLBACK_UPDATE_NONCONVEX 109
#define TVN_CALLBACK_UPDATE_PRESOLVE 110
#define TVN_CALLBACK_UPDATE_PRIMAL_BI 111
#define TVN_CALLBACK_UPDATE_PRIMAL_DUAL_SIMPLEX 112
#define TVN_CALLBACK_UPDATE_PRIMAL_DUAL_SIMPLEX_BI 113
#define TVN_CALLBACK_UPDATE_PRIMAL_SIMPLEX 114
#define TVN_CALLBACK_UPDATE_PRIMAL_SIMPLEX_BI 115
#define TVN_CALLBACK_WRITE_OPF 116

/* end: from the tables */

/* ==== environment and task ===================================================================================== */

/* Makes an environment, to be made ready by TVN_initenv.
 *   env        out: the handle, null after a failure.
 *   usrptr     in: handed to mallocfunc and freefunc.
 *   mallocfunc in: source of all memory of the library. 16-byte aligned, null result when exhausted.
 *   freefunc   in: its counterpart. When either is null both are left aside for malloc and free.
 *   dbgfile    in: null: no memory debugging. Otherwise each block is guarded and listed, and faults and leaks are
 *              reported in the files dbgfile.env.txt and dbgfile.<task>.task.txt ("" gives no files).
 * Codes: TVN_RES_ERR_NULL_ENV (env is null), TVN_RES_ERR_SPACE, TVN_RES_ERR_THREAD_MUTEX_INIT. */
TVN_API TVNrescodee TVN_makeenv(TVNenv_t *env, void *usrptr, TVN_mallocfunc mallocfunc, TVN_freefunc freefunc,
                                const char *dbgfile);

/* Replaces the defaults of the processor parameters; between TVN_makeenv and TVN_initenv.
 *   cputype        in: TVN_CPU_*, 0 leaves the default.
 *   sizel1, sizel2 in: cache sizes in bytes, a negative one leaves the default.
 * Codes: TVN_RES_ERR_NULL_ENV. */
TVN_API TVNrescodee TVN_putcpudefaults(TVNenv_t env, int32_t cputype, int32_t sizel1, int32_t sizel2);

/* Makes the environment ready for tasks; a second call does nothing. Codes: TVN_RES_ERR_NULL_ENV. */
TVN_API TVNrescodee TVN_initenv(TVNenv_t env);

/* Ends an environment.
 *   env in, out: the handle, null after TVN_RES_OK; a null handle is no fault.
 * Codes: TVN_RES_ERR_LIVING_TASKS (nothing is deleted; after TVN_enablegarcolenv it is TVN_RES_OK instead and the last
 * TVN_deletetask deletes), TVN_RES_ERR_INTERNAL (in one of its own functions, see there), TVN_RES_ERR_SPACE_LEAKING
 * (deleted, with memory left; known with memory debugging only). */
TVN_API TVNrescodee TVN_deleteenv(TVNenv_t *env);

/* Lets TVN_deleteenv wait for the last task. */
TVN_API TVNrescodee TVN_enablegarcolenv(TVNenv_t env);

/* keepdlls in: 0 unloads libraries that were loaded at run time when the last task goes; 1 (default) keeps them. */
TVN_API TVNrescodee TVN_putkeepdlls(TVNenv_t env, int32_t keepdlls);

/* dllpath in: where libraries that are loaded at run time are searched, null: nowhere in particular. Copied. */
TVN_API TVNrescodee TVN_putdllpath(TVNenv_t env, const char *dllpath);

/* Makes a task: an empty problem with the environment's default parameters.
 *   maxnumcon, maxnumvar in: room for so many constraints and variables at first; it grows by itself.
 *   task                 out: the handle, null after a failure.
 * Codes: TVN_RES_ERR_NULL_POINTER (task is null), TVN_RES_ERR_MAXNUMCON, TVN_RES_ERR_MAXNUMVAR (negative),
 * TVN_RES_ERR_SPACE. Threads: several may make tasks of one environment at the same time. */
TVN_API TVNrescodee TVN_maketask(TVNenv_t env, int32_t maxnumcon, int32_t maxnumvar, TVNtask_t *task);

/* TVN_maketask without room. */
TVN_API TVNrescodee TVN_makeemptytask(TVNenv_t env, TVNtask_t *task);

/* Ends a task.
 *   task in, out: the handle, null afterwards; a null handle is no fault.
 * Codes: TVN_RES_ERR_SPACE_LEAKING (as for TVN_deleteenv), TVN_RES_ERR_INTERNAL (in one of its own functions). */
TVN_API TVNrescodee TVN_deletetask(TVNtask_t *task);

/* A new task with the problem, the names, the parameters and the solutions of another, without its callbacks and
 * stream functions.
 *   clonedtask out: the handle, null after a failure; not the address of the handle that is cloned.
 * Codes: TVN_RES_ERR_IDENTICAL_TASKS, TVN_RES_ERR_NULL_POINTER, TVN_RES_ERR_SPACE. */
TVN_API TVNrescodee TVN_clonetask(TVNtask_t task, TVNtask_t *clonedtask);

/* The environment of a task. env out: its handle, still owned by who made it. Codes: TVN_RES_ERR_NULL_POINTER. */
TVN_API TVNrescodee TVN_getenv(TVNtask_t task, TVNenv_t *env);

/* Deletes the problem and the solutions and makes room for a new one; parameters and objective sense stay.
 *   maxnumcon, maxnumvar, maxnumcone, maxnumanz, maxnumqnz in: capacities, of which the last two count nonzeros of A
 *   and of all quadratic terms.
 * Codes: TVN_RES_ERR_MAXNUMCON, TVN_RES_ERR_MAXNUMVAR, TVN_RES_ERR_MAXNUMCONE, TVN_RES_ERR_TOO_SMALL_MAXNUMANZ,
 * TVN_RES_ERR_MAXNUMQNZ (negative), TVN_RES_ERR_SPACE. After a failure the task holds no problem. */
TVN_API TVNrescodee TVN_resizetask(TVNtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t maxnumcone,
                                   int32_t maxnumanz, int32_t maxnumqnz);

/* Deletes the problem and the solutions; parameters and objective sense stay. */
TVN_API TVNrescodee TVN_deletetaskdata(TVNtask_t task);

/* All parameters of the task take the environment's defaults. */
TVN_API TVNrescodee TVN_setdefaults(TVNtask_t task);

/* The last failure that was reported for the task.
 *   lastcode out or null: its code, 0 when the last report was settled.
 *   maxlen   in: bytes of msg; a longer message is cut.
 *   msglen   out or null: length of the whole message.
 *   msg      out or null: the message. */
TVN_API TVNrescodee TVN_getlasterror(TVNtask_t task, TVNrescodee *lastcode, int32_t maxlen, int32_t *msglen, char *msg);
TVN_API TVNrescodee TVN_getlasterror64(TVNtask_t task, TVNrescodee *lastcode, int64_t maxlen, int64_t *msglen,
                                       char *msg);

/* Reports a code as the library does: message, last error, response function. The arguments behind the code fill its
 * message template. The dbg form takes the place that is shown to the user.
 * Returns the code for an error, and for a warning 0 or what the response function returned. */
TVN_API TVNrescodee TVN_exceptiontask(TVNtask_t task, TVNrescodee code, ...);
TVN_API TVNrescodee TVN_exceptiontaskdbg(const char *file, int line, const char *function, TVNtask_t task,
                                         TVNrescodee code, ...);
TVN_API TVNrescodee TVN_exceptiontaskva(const char *file, int line, const char *function, TVNtask_t task,
                                        TVNrescodee code, va_list args);
TVN_API TVNrescodee TVN_exceptionenv(TVNenv_t env, TVNrescodee code, ...);
TVN_API TVNrescodee TVN_exceptionenvdbg(const char *file, int line, const char *function, TVNenv_t env,
                                        TVNrescodee code, ...);
TVN_API TVNrescodee TVN_exceptionenvva(const char *file, int line, const char *function, TVNenv_t env,
                                       TVNrescodee code, va_list args);

/* Memory from the task's own manager, zero-filled, null when exhausted or when the handle is bad. It must go back
 * before the task is deleted. The dbg forms name a place for the memory report. */
TVN_API void *TVN_calloctask(TVNtask_t task, size_t number, size_t size);
TVN_API void *TVN_callocdbgtask(TVNtask_t task, size_t number, size_t size, const char *file, int line);
TVN_API void TVN_freetask(TVNtask_t task, void *ptr);
TVN_API void TVN_freedbgtask(TVNtask_t task, void *ptr, const char *file, int line);
TVN_API char *TVN_strduptask(TVNtask_t task, const char *text);
TVN_API char *TVN_strdupdbgtask(TVNtask_t task, const char *text, const char *file, int line);

/* The same from the environment's manager. To free or copy with a null environment ends the process with status 0. */
TVN_API void *TVN_callocenv(TVNenv_t env, size_t number, size_t size);
TVN_API void *TVN_callocdbgenv(TVNenv_t env, size_t number, size_t size, const char *file, int line);
TVN_API void TVN_freeenv(TVNenv_t env, void *ptr);
TVN_API void TVN_freedbgenv(TVNenv_t env, void *ptr, const char *file, int line);
TVN_API char *TVN_strdupenv(TVNenv_t env, const char *text);
TVN_API char *TVN_strdupdbgenv(TVNenv_t env, const char *text, const char *file, int line);

/* Checks the guards of all blocks; faults are reported in the debug file. file and line: the caller's place. */
TVN_API TVNrescodee TVN_checkmemtask(TVNtask_t task, const char *file, int line);
TVN_API TVNrescodee TVN_checkmemenv(TVNenv_t env, const char *file, int line);

/* Bytes in use by the task: the most so far and now; both 0 on failure, each output may be null.
 * Codes: TVN_RES_ERR_SPACE_NO_INFO (no memory debugging), TVN_RES_ERR_INT64_TO_INT32_CAST. */
TVN_API TVNrescodee TVN_getmemusagetask(TVNtask_t task, int32_t *maxused, int32_t *current);
TVN_API TVNrescodee TVN_getmemusagetask64(TVNtask_t task, int64_t *maxused, int64_t *current);

/* The version of the library: 6, 0, 0, 135. Each output may be null. */
TVN_API TVNrescodee TVN_getversion(int32_t *major, int32_t *minor, int32_t *build, int32_t *revision);
/* buffer out: "6.0.0.135", cut to size bytes with the terminator. Codes: TVN_RES_ERR_NULL_POINTER. */
TVN_API TVNrescodee TVN_getversionstring(int32_t size, char *buffer);
/* Codes: TVN_RES_ERR_OLDER_DLL, TVN_RES_ERR_NEWER_DLL: the library is older or newer than the version asked for. */
TVN_API TVNrescodee TVN_checkversion(TVNenv_t env, int32_t major, int32_t minor, int32_t build, int32_t revision);
/* Texts of at most 63 characters; each output may be null. */
TVN_API TVNrescodee TVN_getbuildinfo(char *buildstate, char *builddate, char *buildtool);

/* ==== streams and callbacks ==================================================================================== */

/* The progress callback, called while a file is read or written and while an optimizer runs.
 *   func   in: null takes the callback away. A nonzero result ends the run with TVN_RES_TRM_USER_CALLBACK, whatever
 *          later ones are. After it func is called for what ends only: the present phase (presolve, primal or dual
 *          simplex), TVN_CALLBACK_END_SIMPLEX and TVN_CALLBACK_END_OPTIMIZER.
 *   handle in: passed to func. */
TVN_API TVNrescodee TVN_putcallbackfunc(TVNtask_t task, TVN_callbackfunc func, void *handle);
/* Each output may be null. */
TVN_API TVNrescodee TVN_getcallbackfunc(TVNtask_t task, TVN_callbackfunc *func, void **handle);

/* A second progress callback, called after the first; a nonzero result ends the run with TVN_RES_TRM_INTERNAL. */
TVN_API TVNrescodee TVN_putsystemcallbackfunc(TVNtask_t task, TVN_callbackfunc func, void *handle);
TVN_API TVNrescodee TVN_getsystemcallbackfunc(TVNtask_t task, TVN_callbackfunc *func, void **handle);

/* The function that sees each reported code, null: none. See TVN_responsefunc. */
TVN_API TVNrescodee TVN_putresponsefunc(TVNtask_t task, TVN_responsefunc func, void *handle);
TVN_API TVNrescodee TVN_putexceptionfuncenv(TVNenv_t env, TVN_responsefunc func, void *handle);

/* The function that is called on a fatal internal error, null: abort. */
TVN_API TVNrescodee TVN_putexitfunc(TVNenv_t env, TVN_exitfunc func, void *handle);

/* Streams are numbered TVN_STREAM_LOG, TVN_STREAM_MSG, TVN_STREAM_ERR and TVN_STREAM_WRN. What is written to one of the
 * last three goes to the log as well. A stream number that does not exist gives TVN_RES_ERR_INVALID_STREAM. */

/* Gives each line of a stream to a function, in place of the one that was linked before.
 *   handle in: passed to func.
 *   func   in: called with text of at most 1024 bytes that never ends inside a UTF-8 character; null: none. */
TVN_API TVNrescodee TVN_linkfunctotaskstream(TVNtask_t task, int32_t whichstream, void *handle, TVN_streamfunc func);
TVN_API TVNrescodee TVN_unlinkfuncfromtaskstream(TVNtask_t task, int32_t whichstream);
TVN_API TVNrescodee TVN_linkfunctoenvstream(TVNenv_t env, int32_t whichstream, void *handle, TVN_streamfunc func);

/* Writes a stream to a file too, in place of the one that was linked before; each line reaches the disk at once.
 *   filename in: UTF-8.
 *   append   in: nonzero writes behind what the file holds, 0 starts it anew.
 * Codes: TVN_RES_ERR_INVALID_FILE_NAME (null), TVN_RES_ERR_FILE_OPEN (the old file stays linked). */
TVN_API TVNrescodee TVN_linkfiletotaskstream(TVNtask_t task, int32_t whichstream, const char *filename, int32_t append);
TVN_API TVNrescodee TVN_linkfiletoenvstream(TVNenv_t env, int32_t whichstream, const char *filename, int32_t append);

/* Delivers what a stream holds of a line that has not ended yet. */
TVN_API TVNrescodee TVN_flushstreamtask(TVNtask_t task, int32_t whichstream);
TVN_API TVNrescodee TVN_flushstreamenv(TVNenv_t env, int32_t whichstream);

/* Writes text to a stream.
 *   format in: as for printf, with its arguments. Text beyond 64 kB is cut. */
TVN_API TVNrescodee TVN_echotask(TVNtask_t task, int32_t whichstream, const char *format, ...) TVN_PRINTF(3, 4);
TVN_API TVNrescodee TVN_echoenv(TVNenv_t env, int32_t whichstream, const char *format, ...) TVN_PRINTF(3, 4);
TVN_API TVNrescodee TVN_echotaskva(TVNtask_t task, int32_t whichstream, const char *format, va_list args);
TVN_API TVNrescodee TVN_echoenvva(TVNenv_t env, int32_t whichstream, const char *format, va_list args);

/* Prints name, version and build date on the log of an environment; with longver nonzero also the variables of the
 * operating system that the library reads. */
TVN_API TVNrescodee TVN_echointro(TVNenv_t env, int32_t longver);

/* Text from UTF-8 to wide characters and back, as far as it fits.
 *   outputlen in: units of output, end mark included.
 *   len       out: units that the whole text needs, without its end mark; may be null.
 *   conv      out: units of input that were converted; may be null.
 * Codes: TVN_RES_ERR_INVALID_UTF8, TVN_RES_ERR_INVALID_WCHAR (output holds the text before the fault),
 * TVN_RES_ERR_NULL_POINTER. */
TVN_API TVNrescodee TVN_utf8towchar(size_t outputlen, size_t *len, size_t *conv, wchar_t *output, const char *input);
TVN_API TVNrescodee TVN_wchartoutf8(size_t outputlen, size_t *len, size_t *conv, char *output, const wchar_t *input);

/* ==== response codes and symbolic constants ==================================================================== */

/* Text buffers of this section hold TVN_MAX_STR_LEN bytes unless a size is passed; a null one gives
 * TVN_RES_ERR_NULL_POINTER. Functions without a handle may be called at any time by any thread. */

/* The class of a code, from its value alone. responseclass out: TVN_RESPONSE_*. */
TVN_API TVNrescodee TVN_getresponseclass(TVNrescodee code, int32_t *responseclass);

/* The message template of a code, whose conversions the reporter fills. buffer out: "No message for this code." for 0
 * and for a code that does not exist; a null one does nothing. */
TVN_API TVNrescodee TVN_getresmes(TVNrescodee code, char *buffer);

/* Name and meaning of a code.
 *   symname     out: the constant, "" for a code that does not exist; may be null.
 *   description out: a sentence, "" for a code that does not exist; may be null.
 * Codes: TVN_RES_ERR_IN_ARGUMENT for a code that does not exist. TVN_getcodedisc is the same and gives TVN_RES_OK. */
TVN_API TVNrescodee TVN_getcodedesc(TVNrescodee code, char *symname, char *description);
TVN_API TVNrescodee TVN_getcodedisc(TVNrescodee code, char *symname, char *description);

/* The number of symbolic constants of this header, and the length of the longest name. Each output may be null. */
TVN_API TVNrescodee TVN_getsymbcondim(TVNenv_t env, int32_t *num, size_t *maxlen);

/* One symbolic constant.
 *   i         in: 0 to the number of constants less 1.
 *   sizevalue in: bytes of name.
 *   name      out: cut to sizevalue - 1 bytes; may be null.
 *   value     out: may be null.
 * Codes: TVN_RES_ERR_INDEX_IS_TOO_SMALL, TVN_RES_ERR_INDEX_IS_TOO_LARGE; returns the warning
 * TVN_RES_WRN_NAME_MAX_LEN when cut. */
TVN_API TVNrescodee TVN_getsymbcon(TVNtask_t task, int32_t i, int32_t sizevalue, char *name, int32_t *value);

/* 1 when name is a symbolic constant, with its value as decimal text; else 0 and "". value has room for 12 bytes. */
TVN_API int32_t TVN_symnamtovalue(const char *name, char *value);

/* The constant that is the value of an integer parameter: TVN_iparvaltosymnam gives "TVN_ON", TVN_iparvaltostr "ON".
 *   param  in: TVN_IPAR_*.
 *   buffer out: "" for a parameter with plain numbers and for an unknown value. */
TVN_API TVNrescodee TVN_iparvaltosymnam(TVNenv_t env, int32_t param, int32_t value, char *buffer);
TVN_API TVNrescodee TVN_iparvaltostr(TVNenv_t env, int32_t param, int32_t value, char *buffer);

/* The two-letter key of a status key, as solution files have it: UN, BS, SB, LL, UL, EQ, **, and back.
 * Codes: TVN_RES_ERR_INV_SK (str is ""), TVN_RES_ERR_INV_SK_STR. */
TVN_API TVNrescodee TVN_sktostr(TVNtask_t task, int32_t sk, char *str);
TVN_API TVNrescodee TVN_strtosk(TVNtask_t task, const char *str, int32_t *sk);

/* The constant of a bound key. Codes: TVN_RES_ERR_INV_BK (str is ""). */
TVN_API TVNrescodee TVN_bktostr(TVNtask_t task, int32_t bk, char *str);

/* The constant of a cone type, and back; the bare words QUAD and RQUAD are understood too.
 * Codes: TVN_RES_ERR_CONE_TYPE (str is ""), TVN_RES_ERR_INV_CONE_TYPE_STR. */
TVN_API TVNrescodee TVN_conetypetostr(TVNtask_t task, int32_t conetype, char *str);
TVN_API TVNrescodee TVN_strtoconetype(TVNtask_t task, const char *str, int32_t *conetype);

/* Words for a problem status, a solution status and a problem type; "INVALID CODE(...)" for a value without one. */
TVN_API TVNrescodee TVN_prostatostr(TVNtask_t task, int32_t prosta, char *str);
TVN_API TVNrescodee TVN_solstatostr(TVNtask_t task, int32_t solsta, char *str);
TVN_API TVNrescodee TVN_probtypetostr(TVNtask_t task, int32_t probtype, char *str);

/* The constant of a callback code, "INVALID CODE(...)" for one that does not exist. */
TVN_API TVNrescodee TVN_callbackcodetostr(int32_t code, char *str);

/* Words for an optimizer, cut to size - 1 bytes. */
TVN_API TVNrescodee TVN_optimizertostr(int32_t optimizer, size_t size, char *str);

/* One family of constants each: 1 when the name or the value belongs to it, else 0.
 *   name   in: the full constant.
 *   value  out: may be null.
 *   buffer out: TVN_MAX_STR_LEN bytes, "" for a value without a constant; may be null. */
TVN_API int32_t TVN_boundkeynametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getboundkeyname(int32_t value, char *buffer);
TVN_API int32_t TVN_conetypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getconetypename(int32_t value, char *buffer);
TVN_API int32_t TVN_problemtypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getproblemtypename(int32_t value, char *buffer);
TVN_API int32_t TVN_stakeynametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getstakeyname(int32_t value, char *buffer);
TVN_API int32_t TVN_solitemnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsolitemname(int32_t value, char *buffer);
TVN_API int32_t TVN_soltypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsoltypename(int32_t value, char *buffer);
TVN_API int32_t TVN_prostanametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getprostaname(int32_t value, char *buffer);
TVN_API int32_t TVN_solstanametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsolstaname(int32_t value, char *buffer);
TVN_API int32_t TVN_objsensenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getobjsensename(int32_t value, char *buffer);
TVN_API int32_t TVN_variabletypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getvariabletypename(int32_t value, char *buffer);
TVN_API int32_t TVN_optimizertypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getoptimizertypename(int32_t value, char *buffer);
TVN_API int32_t TVN_cputypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getcputypename(int32_t value, char *buffer);
TVN_API int32_t TVN_dataformatnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getdataformatname(int32_t value, char *buffer);
TVN_API int32_t TVN_compresstypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getcompresstypename(int32_t value, char *buffer);
TVN_API int32_t TVN_languagenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getlanguagename(int32_t value, char *buffer);
TVN_API int32_t TVN_accmodenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getaccmodename(int32_t value, char *buffer);
TVN_API int32_t TVN_adopnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getadopname(int32_t value, char *buffer);
TVN_API int32_t TVN_adoptypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getadoptypename(int32_t value, char *buffer);
TVN_API int32_t TVN_basisidentnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getbasisidentname(int32_t value, char *buffer);
TVN_API int32_t TVN_branchdirnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getbranchdirname(int32_t value, char *buffer);
TVN_API int32_t TVN_checkconvexitynametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getcheckconvexityname(int32_t value, char *buffer);
TVN_API int32_t TVN_feasrepairoptimizenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getfeasrepairoptimizename(int32_t value, char *buffer);
TVN_API int32_t TVN_inftypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getinftypename(int32_t value, char *buffer);
TVN_API int32_t TVN_iomodenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getiomodename(int32_t value, char *buffer);
TVN_API int32_t TVN_marknametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getmarkname(int32_t value, char *buffer);
TVN_API int32_t TVN_messagekeynametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getmessagekeyname(int32_t value, char *buffer);
TVN_API int32_t TVN_miocontsolnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getmiocontsolname(int32_t value, char *buffer);
TVN_API int32_t TVN_miomodenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getmiomodename(int32_t value, char *buffer);
TVN_API int32_t TVN_mionodeselectionnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getmionodeselectionname(int32_t value, char *buffer);
TVN_API int32_t TVN_mpsformatnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getmpsformatname(int32_t value, char *buffer);
TVN_API int32_t TVN_networkdetectnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getnetworkdetectname(int32_t value, char *buffer);
TVN_API int32_t TVN_onoffnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getonoffname(int32_t value, char *buffer);
TVN_API int32_t TVN_ordermethodnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getordermethodname(int32_t value, char *buffer);
TVN_API int32_t TVN_parametertypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getparametertypename(int32_t value, char *buffer);
TVN_API int32_t TVN_presolvemodenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getpresolvemodename(int32_t value, char *buffer);
TVN_API int32_t TVN_problemitemnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getproblemitemname(int32_t value, char *buffer);
TVN_API int32_t TVN_qreadnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getqreadname(int32_t value, char *buffer);
TVN_API int32_t TVN_responseclassnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getresponseclassname(int32_t value, char *buffer);
TVN_API int32_t TVN_scalingnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getscalingname(int32_t value, char *buffer);
TVN_API int32_t TVN_scalingmethodnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getscalingmethodname(int32_t value, char *buffer);
TVN_API int32_t TVN_sensitivitytypenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsensitivitytypename(int32_t value, char *buffer);
TVN_API int32_t TVN_simdegennametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsimdegenname(int32_t value, char *buffer);
TVN_API int32_t TVN_simexploitdupvecnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsimexploitdupvecname(int32_t value, char *buffer);
TVN_API int32_t TVN_simhotstartnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsimhotstartname(int32_t value, char *buffer);
TVN_API int32_t TVN_simreformulationnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsimreformulationname(int32_t value, char *buffer);
TVN_API int32_t TVN_simselectionnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsimselectionname(int32_t value, char *buffer);
TVN_API int32_t TVN_solveformnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsolveformname(int32_t value, char *buffer);
TVN_API int32_t TVN_startingpointnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getstartingpointname(int32_t value, char *buffer);
TVN_API int32_t TVN_streamnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getstreamname(int32_t value, char *buffer);
TVN_API int32_t TVN_xmlmodenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getxmlmodename(int32_t value, char *buffer);
TVN_API int32_t TVN_callbackcodenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getcallbackcodename(int32_t value, char *buffer);
TVN_API int32_t TVN_rescodenametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getrescodename(int32_t value, char *buffer);
TVN_API int32_t TVN_iparamnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getiparamname(int32_t value, char *buffer);
TVN_API int32_t TVN_dparamnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getdparamname(int32_t value, char *buffer);
TVN_API int32_t TVN_sparamnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getsparamname(int32_t value, char *buffer);
TVN_API int32_t TVN_iinfitemnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getiinfitemname(int32_t value, char *buffer);
TVN_API int32_t TVN_dinfitemnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getdinfitemname(int32_t value, char *buffer);
TVN_API int32_t TVN_liinfitemnametovalue(const char *name, int32_t *value);
TVN_API int32_t TVN_getliinfitemname(int32_t value, char *buffer);

/* ==== parameters and information items ========================================================================= */

/* Parameters. Each task has values of its own, which start from the defaults that stand beside the constants above.
 * An index that does not exist gives TVN_RES_ERR_PARAM_INDEX. */

/* Sets a number. An unchanged value passes untested.
 *   param in: TVN_IPAR_* or TVN_DPAR_*.
 * Codes: TVN_RES_ERR_PARAM_INDEX, TVN_RES_ERR_PARAM_IS_TOO_SMALL, TVN_RES_ERR_PARAM_IS_TOO_LARGE. */
TVN_API TVNrescodee TVN_putintparam(TVNtask_t task, int32_t param, int32_t value);
TVN_API TVNrescodee TVN_putdouparam(TVNtask_t task, int32_t param, double value);

/* Sets a string, which is copied.
 *   param in: TVN_SPAR_*.
 *   value in: null is "". A text that begins with a double quote ends at the next one, and \" inside stands for ". */
TVN_API TVNrescodee TVN_putstrparam(TVNtask_t task, int32_t param, const char *value);

TVN_API TVNrescodee TVN_getintparam(TVNtask_t task, int32_t param, int32_t *value);
TVN_API TVNrescodee TVN_getdouparam(TVNtask_t task, int32_t param, double *value);

/* Reads a string.
 *   maxlen in: bytes of value.
 *   len    out: length of the text without its end mark; may be null.
 *   value  out: cut to maxlen - 1 bytes; may be null.
 * Codes: TVN_RES_ERR_PARAM_INDEX; returns the warning TVN_RES_WRN_SPAR_MAX_LEN when cut. */
TVN_API TVNrescodee TVN_getstrparam(TVNtask_t task, int32_t param, int32_t maxlen, int32_t *len, char *value);
TVN_API TVNrescodee TVN_getstrparam64(TVNtask_t task, int32_t param, int64_t maxlen, int64_t *len, char *value);

/* Reads a string into new memory, which the caller gives back with TVN_freetask.
 *   extra in: bytes of room behind the text, which are 0.
 * Codes: TVN_RES_ERR_PARAM_INDEX, TVN_RES_ERR_IN_ARGUMENT (extra is negative). */
TVN_API TVNrescodee TVN_getstrparamal(TVNtask_t task, int32_t param, int32_t extra, char **value);

/* Threads that the interior-point optimizer may use: TVN_IPAR_INTPNT_NUM_THREADS, or the cores when that is 0. */
TVN_API TVNrescodee TVN_getintpntnumthreads(TVNtask_t task, int32_t *num);

/* The number of parameters of a type. partype in: TVN_PAR_*. Codes: TVN_RES_ERR_PARAM_TYPE (max is -1). */
TVN_API TVNrescodee TVN_getparammax(TVNtask_t task, int32_t partype, int32_t *max);

/* As TVN_getparammax, but gives 67 for the integer parameters too. */
TVN_API TVNrescodee TVN_getnumparam(TVNtask_t task, int32_t partype, int32_t *num);

/* The constant of a parameter. name out: 128 bytes. Codes: TVN_RES_ERR_PARAM_TYPE, TVN_RES_ERR_PARAM_INDEX. */
TVN_API TVNrescodee TVN_getparamname(TVNtask_t task, int32_t partype, int32_t param, char *name);

/* The index of the parameter with this full name, exact to the case; the number of parameters when there is none. */
TVN_API TVNrescodee TVN_isintparname(TVNtask_t task, const char *name, int32_t *index);
TVN_API TVNrescodee TVN_isdouparname(TVNtask_t task, const char *name, int32_t *index);
TVN_API TVNrescodee TVN_isstrparname(TVNtask_t task, const char *name, int32_t *index);

/* Type and index of the parameter with this full name; TVN_PAR_INVALID_TYPE and -1 when there is none. */
TVN_API TVNrescodee TVN_whichparam(TVNtask_t task, const char *name, int32_t *partype, int32_t *param);

/* Sets any parameter from text: TVN_putparam(task, "TVN_IPAR_OPTIMIZER", "TVN_OPTIMIZER_DUAL_SIMPLEX").
 *   name  in: blanks around it do not count.
 *   value in: a number, for integers also a symbolic constant, for strings the text as TVN_putstrparam takes it.
 * Codes: TVN_RES_ERR_PARAM_NAME, TVN_RES_ERR_PARAM_VALUE_STR, and those of the puts. */
TVN_API TVNrescodee TVN_putparam(TVNtask_t task, const char *name, const char *value);

/* Access by full name. Codes: TVN_RES_ERR_PARAM_NAME_INT, _DOU or _STR for an unknown name, and those by index.
 * TVN_putnadouparam reports a rejected value and yet gives TVN_RES_OK; TVN_getnadouparam gives TVN_RES_ERR_PARAM_INDEX
 * for an unknown name. */
TVN_API TVNrescodee TVN_putnaintparam(TVNtask_t task, const char *name, int32_t value);
TVN_API TVNrescodee TVN_putnadouparam(TVNtask_t task, const char *name, double value);
TVN_API TVNrescodee TVN_putnastrparam(TVNtask_t task, const char *name, const char *value);
TVN_API TVNrescodee TVN_getnaintparam(TVNtask_t task, const char *name, int32_t *value);
TVN_API TVNrescodee TVN_getnadouparam(TVNtask_t task, const char *name, double *value);
TVN_API TVNrescodee TVN_getnastrparam(TVNtask_t task, const char *name, int32_t maxlen, int32_t *len, char *value);
TVN_API TVNrescodee TVN_getnastrparamal(TVNtask_t task, const char *name, int32_t extra, char **value);

/* Information items: what the last run reported.
 *   item in: TVN_DINF_*, TVN_IINF_* or TVN_LIINF_*.
 * Codes: TVN_RES_ERR_INF_DOU_INDEX, TVN_RES_ERR_INF_INT_INDEX, TVN_RES_ERR_INF_LINT_INDEX. */
TVN_API TVNrescodee TVN_getdouinf(TVNtask_t task, int32_t item, double *value);
TVN_API TVNrescodee TVN_getintinf(TVNtask_t task, int32_t item, int32_t *value);
TVN_API TVNrescodee TVN_getlintinf(TVNtask_t task, int32_t item, int64_t *value);

/* The same by full name. Codes: TVN_RES_ERR_INF_DOU_NAME, TVN_RES_ERR_INF_INT_NAME. */
TVN_API TVNrescodee TVN_getnadouinf(TVNtask_t task, const char *name, double *value);
TVN_API TVNrescodee TVN_getnaintinf(TVNtask_t task, const char *name, int32_t *value);

/* Index, name and number of the items of a type.
 *   inftype in: TVN_INF_DOU_TYPE, TVN_INF_INT_TYPE or TVN_INF_LINT_TYPE.
 *   name    out: 128 bytes.
 * Codes: TVN_RES_ERR_INF_TYPE, and the index and name codes of the type (TVN_RES_ERR_INF_LINT_NAME for long ones). */
TVN_API TVNrescodee TVN_getinfindex(TVNtask_t task, int32_t inftype, const char *name, int32_t *index);
TVN_API TVNrescodee TVN_getinfname(TVNtask_t task, int32_t inftype, int32_t index, char *name);
TVN_API TVNrescodee TVN_getinfmax(TVNtask_t task, int32_t inftype, int32_t *max);

/* Writes all parameters to a file.
 *   filename in: null or "" for the value of TVN_SPAR_PARAM_WRITE_FILE_NAME.
 * Codes: TVN_RES_ERR_INVALID_FILE_NAME (no name), TVN_RES_ERR_FILE_OPEN, TVN_RES_ERR_FILE_WRITE. */
TVN_API TVNrescodee TVN_writeparamfile(TVNtask_t task, const char *filename);

/* Reads the file that TVN_SPAR_PARAM_READ_FILE_NAME names; does nothing when that is "".
 * Codes: returns the warning TVN_RES_WRN_OPEN_PARAM_FILE when the file cannot be opened; TVN_RES_ERR_PARAM_NAME,
 * TVN_RES_ERR_PARAM_VALUE_STR and those of the puts for the first bad line, unless TVN_IPAR_PARAM_READ_IGN_ERROR is on.
 * Lines before it have been put. */
TVN_API TVNrescodee TVN_readparamfile(TVNtask_t task);

/* Lists all parameters with their limits on the message stream. */
TVN_API TVNrescodee TVN_printparam(TVNtask_t task);

/* ==== problem data =============================================================================================
 *
 * minimise or maximise c'x + cfix + 0.5 x'Qx subject to blc <= A x (+ quadratic terms) <= buc, blx <= x <= bux, x in
 * cones, some x integer. accmode is TVN_ACC_VAR or TVN_ACC_CON and selects variables (columns) or constraints (rows);
 * another value gives TVN_RES_ERR_INVALID_ACCMODE. An index out of range gives TVN_RES_ERR_INDEX_IS_TOO_SMALL or
 * TVN_RES_ERR_INDEX_IS_TOO_LARGE, in a checked list TVN_RES_ERR_INDEX_ARR_IS_TOO_SMALL or _TOO_LARGE, a slice first to
 * last - 1 out of range TVN_RES_ERR_FIRST or TVN_RES_ERR_LAST. A 32-bit output that is too small for its number gives
 * TVN_RES_ERR_INT64_TO_INT32_CAST, a null array TVN_RES_ERR_NULL_POINTER, a negative length TVN_RES_ERR_IN_ARGUMENT.
 * Functions on a list or slice stop at the first failure; items before it stay changed. Every change lowers the
 * statuses of the stored solutions and keeps their values as a start. */

/* Counts and capacities; the output may be null. The integer variables are counted as they are put and taken away, see
 * TVN_putvartype; what the library does with integrality follows the types. */
TVN_API TVNrescodee TVN_getnumvar(TVNtask_t task, int32_t *numvar);
TVN_API TVNrescodee TVN_getnumcon(TVNtask_t task, int32_t *numcon);
TVN_API TVNrescodee TVN_getnumcone(TVNtask_t task, int32_t *numcone);
TVN_API TVNrescodee TVN_getnumintvar(TVNtask_t task, int32_t *numintvar);
TVN_API TVNrescodee TVN_getmaxnumvar(TVNtask_t task, int32_t *maxnumvar);
TVN_API TVNrescodee TVN_getmaxnumcon(TVNtask_t task, int32_t *maxnumcon);
TVN_API TVNrescodee TVN_getmaxnumcone(TVNtask_t task, int32_t *maxnumcone);
TVN_API TVNrescodee TVN_getnumanz(TVNtask_t task, int32_t *numanz);
TVN_API TVNrescodee TVN_getnumanz64(TVNtask_t task, int64_t *numanz);
TVN_API TVNrescodee TVN_getmaxnumanz(TVNtask_t task, int32_t *maxnumanz);
TVN_API TVNrescodee TVN_getmaxnumanz64(TVNtask_t task, int64_t *maxnumanz);
TVN_API TVNrescodee TVN_getmaxnumqnz(TVNtask_t task, int32_t *maxnumqnz);
TVN_API TVNrescodee TVN_getmaxnumqnz64(TVNtask_t task, int64_t *maxnumqnz);
TVN_API TVNrescodee TVN_getnumqobjnz(TVNtask_t task, int32_t *numqonz);
TVN_API TVNrescodee TVN_getnumqobjnz64(TVNtask_t task, int64_t *numqonz);
TVN_API TVNrescodee TVN_getnumqconknz(TVNtask_t task, int32_t k, int32_t *numqcnz);
TVN_API TVNrescodee TVN_getnumqconknz64(TVNtask_t task, int32_t k, int64_t *numqcnz);
/* nummem out or null: members of cone k. */
TVN_API TVNrescodee TVN_getnumconemem(TVNtask_t task, int32_t k, int32_t *nummem);

/* Capacities. They grow by themselves; to put them saves the moves. A capacity below the count gives
 * TVN_RES_ERR_MAXNUMVAR, TVN_RES_ERR_MAXNUMCON, TVN_RES_ERR_MAXNUMCONE, TVN_RES_ERR_INTERNAL or
 * TVN_RES_ERR_TOO_SMALL_MAXNUMANZ (A: below its elements, negative) or TVN_RES_ERR_MAXNUMQNZ. The capacity of cones is
 * cut to that of the variables. */
TVN_API TVNrescodee TVN_putmaxnumvar(TVNtask_t task, int32_t maxnumvar);
TVN_API TVNrescodee TVN_putmaxnumcon(TVNtask_t task, int32_t maxnumcon);
TVN_API TVNrescodee TVN_putmaxnumcone(TVNtask_t task, int32_t maxnumcone);
TVN_API TVNrescodee TVN_putmaxnumanz(TVNtask_t task, int32_t maxnumanz);
TVN_API TVNrescodee TVN_putmaxnumanz64(TVNtask_t task, int64_t maxnumanz);
TVN_API TVNrescodee TVN_putmaxnumqnz(TVNtask_t task, int32_t maxnumqnz);
TVN_API TVNrescodee TVN_putmaxnumqnz64(TVNtask_t task, int64_t maxnumqnz);

/* Appends num variables, each fixed at 0 with cost 0, or num free constraints.
 * Codes: TVN_RES_ERR_NEGATIVE_APPEND. */
TVN_API TVNrescodee TVN_append(TVNtask_t task, int32_t accmode, int32_t num);
/* TVN_append that tells where: first out: index of the first new item; may be null. */
TVN_API TVNrescodee TVN_core_append(TVNtask_t task, int32_t accmode, int32_t num, int32_t *first);
/* Appends and fills num items. Vector k is asub, aval [aptrb[k] .. aptre[k] - 1]. A null c, aptrb or key array leaves
 * the initial values. Codes: TVN_RES_ERR_IN_ARGUMENT (num is negative), those of TVN_putcj, TVN_putbound, TVN_putavec;
 * after a failure the new items exist and those before the fault are filled. */
TVN_API TVNrescodee TVN_appendvars(TVNtask_t task, int32_t num, const double *c, const int32_t *aptrb,
                                   const int32_t *aptre, const int32_t *asub, const double *aval, const int32_t *bkx,
                                   const double *blx, const double *bux);
TVN_API TVNrescodee TVN_appendcons(TVNtask_t task, int32_t num, const int32_t *aptrb, const int32_t *aptre,
                                   const int32_t *asub, const double *aval, const int32_t *bkc, const double *blc,
                                   const double *buc);

/* Replaces the whole problem by a linear one.
 *   maxnumcon, maxnumvar in: capacities, raised to the counts.
 *   c                    in: [numvar], null: all 0.
 *   aptrb, aptre         in: [numvar] begin and end of each column in asub and aval.
 *   bkc, blc, buc        in: [numcon]; bkx, blx, bux: [numvar].
 * Codes: TVN_RES_ERR_INV_APTRE, TVN_RES_ERR_INDEX_IS_TOO_SMALL, TVN_RES_ERR_INDEX_IS_TOO_LARGE,
 * TVN_RES_ERR_MUL_A_ELEMENT, TVN_RES_ERR_IN_ARGUMENT (the old problem stands); those of the put functions (the task
 * holds what was put before). */
TVN_API TVNrescodee TVN_inputdata(TVNtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t numcon, int32_t numvar,
                                  const double *c, double cfix, const int32_t *aptrb, const int32_t *aptre,
                                  const int32_t *asub, const double *aval, const int32_t *bkc, const double *blc,
                                  const double *buc, const int32_t *bkx, const double *blx, const double *bux);
TVN_API TVNrescodee TVN_inputdata64(TVNtask_t task, int32_t maxnumcon, int32_t maxnumvar, int32_t numcon,
                                    int32_t numvar, const double *c, double cfix, const int64_t *aptrb,
                                    const int64_t *aptre, const int32_t *asub, const double *aval, const int32_t *bkc,
                                    const double *blc, const double *buc, const int32_t *bkx, const double *blx,
                                    const double *bux);

/* The sense of the objective: TVN_OBJECTIVE_SENSE_*; undefined leaves it to TVN_IPAR_OBJECTIVE_SENSE. A value that is
 * none of them is reported as TVN_RES_ERR_INVALID_OBJECTIVE_SENSE, yet the result is TVN_RES_OK and nothing changes. */
TVN_API TVNrescodee TVN_putobjsense(TVNtask_t task, int32_t sense);
TVN_API TVNrescodee TVN_getobjsense(TVNtask_t task, int32_t *sense);

/* Linear costs. Codes: TVN_RES_ERR_HUGE_C (above TVN_DPAR_DATA_TOL_C_HUGE, not stored), TVN_RES_WRN_LARGE_CJ. */
TVN_API TVNrescodee TVN_putcj(TVNtask_t task, int32_t j, double cj);
TVN_API TVNrescodee TVN_putclist(TVNtask_t task, int32_t num, const int32_t *subj, const double *val);
/* c out: [numvar] or [last - first]. */
TVN_API TVNrescodee TVN_getc(TVNtask_t task, double *c);
TVN_API TVNrescodee TVN_getcslice(TVNtask_t task, int32_t first, int32_t last, double *c);
/* The constant of the objective. */
TVN_API TVNrescodee TVN_putcfix(TVNtask_t task, double cfix);
TVN_API TVNrescodee TVN_getcfix(TVNtask_t task, double *cfix);

/* Bounds of an item: bk is TVN_BK_LO, _UP, _FX, _FR or _RA and says which of bl and bu count (FX takes bl). A side at
 * or past TVN_DPAR_DATA_TOL_BOUND_INF is infinite and leaves the key. HUGE_VAL is stored as 1e30.
 * Codes: TVN_RES_ERR_INV_BKC, TVN_RES_ERR_INV_BKX; warnings TVN_RES_WRN_LARGE_LO_BOUND, TVN_RES_WRN_LARGE_UP_BOUND,
 * TVN_RES_WRN_LARGE_CON_FX. A fixed item with two values is reported (TVN_RES_ERR_FIXED_BOUND_VALUES) and fixed at
 * bl. */
TVN_API TVNrescodee TVN_putbound(TVNtask_t task, int32_t accmode, int32_t i, int32_t bk, double bl, double bu);
TVN_API TVNrescodee TVN_putboundlist(TVNtask_t task, int32_t accmode, int32_t num, const int32_t *sub,
                                     const int32_t *bk, const double *bl, const double *bu);
TVN_API TVNrescodee TVN_putboundslice(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, const int32_t *bk,
                                      const double *bl, const double *bu);
/* A side without a bound reads as -1e30 or 1e30; each output may be null. Slices: [last - first]. */
TVN_API TVNrescodee TVN_getbound(TVNtask_t task, int32_t accmode, int32_t i, int32_t *bk, double *bl, double *bu);
TVN_API TVNrescodee TVN_getboundslice(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int32_t *bk,
                                      double *bl, double *bu);
/* Changes one side: lower nonzero means the lower one, finite 0 takes the bound away. The key follows. */
TVN_API TVNrescodee TVN_chgbound(TVNtask_t task, int32_t accmode, int32_t i, int32_t lower, int32_t finite,
                                 double value);

/* Replaces a row or column of A.
 *   nzi        in: number of elements.
 *   subi, vali in: [nzi] indices on the other side and values; a repeated index adds, sums below TVN_DPAR_DATA_TOL_AIJ
 *              are left out. While element writes (TVN_putaij) wait for TVN_commitchanges or a read, elements that are
 *              not listed stay.
 * Codes: TVN_RES_ERR_NAN_IN_AIJ, TVN_RES_ERR_HUGE_AIJ; warnings TVN_RES_WRN_LARGE_AIJ,
 * TVN_RES_WRN_ZEROS_IN_SPARSE_ROW, TVN_RES_WRN_ZEROS_IN_SPARSE_COL. After a failure the vector is as it was. */
TVN_API TVNrescodee TVN_putavec(TVNtask_t task, int32_t accmode, int32_t i, int32_t nzi, const int32_t *subi,
                                const double *vali);
TVN_API TVNrescodee TVN_putavec64(TVNtask_t task, int32_t accmode, int32_t i, int64_t nzi, const int32_t *subi,
                                  const double *vali);
/* The vectors sub[k], given by asub, aval [ptrb[k] .. ptre[k] - 1]. Codes: also TVN_RES_ERR_INV_APTRE and
 * TVN_RES_ERR_IN_ARGUMENT (a negative begin). */
TVN_API TVNrescodee TVN_putaveclist(TVNtask_t task, int32_t accmode, int32_t num, const int32_t *sub,
                                    const int32_t *ptrb, const int32_t *ptre, const int32_t *asub, const double *aval);
TVN_API TVNrescodee TVN_putaveclist64(TVNtask_t task, int32_t accmode, int32_t num, const int32_t *sub,
                                      const int64_t *ptrb, const int64_t *ptre, const int32_t *asub,
                                      const double *aval);
/* One element or num elements; below TVN_DPAR_DATA_TOL_AIJ the element is taken away. Codes: as TVN_putavec. */
TVN_API TVNrescodee TVN_putaij(TVNtask_t task, int32_t i, int32_t j, double aij);
TVN_API TVNrescodee TVN_putaijlist(TVNtask_t task, int32_t num, const int32_t *subi, const int32_t *subj,
                                   const double *val);
/* Merges waiting element writes into A. */
TVN_API TVNrescodee TVN_commitchanges(TVNtask_t task);

TVN_API TVNrescodee TVN_getaij(TVNtask_t task, int32_t i, int32_t j, double *aij);
/* subi, vali out: room for TVN_getavecnumnz elements. Rows and columns are both served, but to alternate is slow. */
TVN_API TVNrescodee TVN_getavec(TVNtask_t task, int32_t accmode, int32_t i, int32_t *nzi, int32_t *subi, double *vali);
TVN_API TVNrescodee TVN_getavecnumnz(TVNtask_t task, int32_t accmode, int32_t i, int32_t *nzi);
/* Elements in rows firsti .. lasti - 1 and columns firstj .. lastj - 1.
 * Codes: TVN_RES_ERR_FIRSTI, TVN_RES_ERR_LASTI, TVN_RES_ERR_FIRSTJ, TVN_RES_ERR_LASTJ. */
TVN_API TVNrescodee TVN_getapiecenumnz(TVNtask_t task, int32_t firsti, int32_t lasti, int32_t firstj, int32_t lastj,
                                       int32_t *numnz);
TVN_API TVNrescodee TVN_getaslicenumnz(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int32_t *numnz);
TVN_API TVNrescodee TVN_getaslicenumnz64(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int64_t *numnz);
/* A slice of rows or columns.
 *   maxnumnz   in: length of sub and val.
 *   surp       in, out: entries still free at the end of sub and val; item k is written from maxnumnz - surp on.
 *   ptrb, ptre out: [last - first] where each item stands.
 * Codes: TVN_RES_ERR_INVALID_SURPLUS, TVN_RES_ERR_NEGATIVE_SURPLUS (an item does not fit; those before it are
 * written). */
TVN_API TVNrescodee TVN_getaslice(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int32_t maxnumnz,
                                  int32_t *surp, int32_t *ptrb, int32_t *ptre, int32_t *sub, double *val);
TVN_API TVNrescodee TVN_getaslice64(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int64_t maxnumnz,
                                    int64_t *surp, int64_t *ptrb, int64_t *ptre, int32_t *sub, double *val);
/* The same as triplets: row, column, value. */
TVN_API TVNrescodee TVN_getaslicetrip(TVNtask_t task, int32_t accmode, int32_t first, int32_t last, int32_t maxnumnz,
                                      int32_t *surp, int32_t *subi, int32_t *subj, double *val);

/* Quadratic terms, by their lower triangle (row >= column); duplicates add, tiny values are left out. x'Qx counts half.
 * TVN_putqobj and TVN_putqconk replace the terms of the objective and of constraint k, TVN_putqcon those of all
 * constraints. Codes: TVN_RES_ERR_QOBJ_UPPER_TRIANGLE, TVN_RES_ERR_QCON_UPPER_TRIANGLE, TVN_RES_ERR_INV_QOBJ_VAL,
 * TVN_RES_ERR_INV_QCON_VAL (not finite); TVN_putqcon: TVN_RES_ERR_INV_QCON_SUBK, TVN_RES_ERR_QCON_SUBI_TOO_SMALL,
 * TVN_RES_ERR_QCON_SUBI_TOO_LARGE, TVN_RES_ERR_INV_QCON_SUBJ. After a failure the terms are as they were. */
TVN_API TVNrescodee TVN_putqobj(TVNtask_t task, int32_t numqonz, const int32_t *qosubi, const int32_t *qosubj,
                                const double *qoval);
TVN_API TVNrescodee TVN_putqobjij(TVNtask_t task, int32_t i, int32_t j, double qoij);
TVN_API TVNrescodee TVN_putqconk(TVNtask_t task, int32_t k, int32_t numqcnz, const int32_t *qcsubi,
                                 const int32_t *qcsubj, const double *qcval);
TVN_API TVNrescodee TVN_putqcon(TVNtask_t task, int32_t numqcnz, const int32_t *qcsubk, const int32_t *qcsubi,
                                const int32_t *qcsubj, const double *qcval);
/* 0 for an absent element; (i, j) and (j, i) are the same. */
TVN_API TVNrescodee TVN_getqobjij(TVNtask_t task, int32_t i, int32_t j, double *qoij);
/* The terms are written from maxnum - surp on and surp falls by their number, which num receives.
 * Codes: TVN_RES_ERR_INVALID_SURPLUS, TVN_RES_ERR_NEGATIVE_SURPLUS (nothing is written). */
TVN_API TVNrescodee TVN_getqobj(TVNtask_t task, int32_t maxnumqonz, int32_t *qosurp, int32_t *numqonz, int32_t *qosubi,
                                int32_t *qosubj, double *qoval);
TVN_API TVNrescodee TVN_getqobj64(TVNtask_t task, int64_t maxnumqonz, int64_t *qosurp, int64_t *numqonz,
                                  int32_t *qosubi, int32_t *qosubj, double *qoval);
TVN_API TVNrescodee TVN_getqconk(TVNtask_t task, int32_t k, int32_t maxnumqcnz, int32_t *qcsurp, int32_t *numqcnz,
                                 int32_t *qcsubi, int32_t *qcsubj, double *qcval);
TVN_API TVNrescodee TVN_getqconk64(TVNtask_t task, int32_t k, int64_t maxnumqcnz, int64_t *qcsurp, int64_t *numqcnz,
                                   int32_t *qcsubi, int32_t *qcsubj, double *qcval);

/* Cones: submem[0] >= norm of the rest (TVN_CT_QUAD), 2 submem[0] submem[1] >= squares of the rest, both >= 0
 * (TVN_CT_RQUAD). A variable is in one cone at most. conepar is kept and given back.
 * Codes: TVN_RES_ERR_CONE_TYPE, TVN_RES_ERR_CONE_SIZE, TVN_RES_ERR_CONE_OVERLAP, TVN_RES_ERR_CONE_REP_VAR;
 * TVN_removecone: TVN_RES_ERR_CONE_INDEX. */
TVN_API TVNrescodee TVN_appendcone(TVNtask_t task, int32_t conetype, double conepar, int32_t nummem,
                                   const int32_t *submem);
TVN_API TVNrescodee TVN_putcone(TVNtask_t task, int32_t k, int32_t conetype, double conepar, int32_t nummem,
                                const int32_t *submem);
TVN_API TVNrescodee TVN_removecone(TVNtask_t task, int32_t k);
/* Each output may be null; submem: [nummem]. */
TVN_API TVNrescodee TVN_getcone(TVNtask_t task, int32_t k, int32_t *conetype, double *conepar, int32_t *nummem,
                                int32_t *submem);
TVN_API TVNrescodee TVN_getconeinfo(TVNtask_t task, int32_t k, int32_t *conetype, double *conepar, int32_t *nummem);

/* Types: TVN_VAR_TYPE_CONT or TVN_VAR_TYPE_INT.
 * Codes: TVN_RES_ERR_INV_VAR_TYPE: the type stays, and TVN_getnumintvar counts an integer variable no longer. */
TVN_API TVNrescodee TVN_putvartype(TVNtask_t task, int32_t j, int32_t vartype);
TVN_API TVNrescodee TVN_putvartypelist(TVNtask_t task, int32_t num, const int32_t *subj, const int32_t *vartype);
TVN_API TVNrescodee TVN_getvartype(TVNtask_t task, int32_t j, int32_t *vartype);
TVN_API TVNrescodee TVN_getvartypelist(TVNtask_t task, int32_t num, const int32_t *subj, int32_t *vartype);
/* Branching: a priority (not negative, 0 at first) and a direction TVN_BRANCH_DIR_*.
 * Codes: TVN_RES_ERR_INVALID_BRANCH_PRIORITY, TVN_RES_ERR_INVALID_BRANCH_DIRECTION. */
TVN_API TVNrescodee TVN_putvarbranchorder(TVNtask_t task, int32_t j, int32_t priority, int32_t direction);
TVN_API TVNrescodee TVN_getvarbranchorder(TVNtask_t task, int32_t j, int32_t *priority, int32_t *direction);
TVN_API TVNrescodee TVN_getvarbranchpri(TVNtask_t task, int32_t j, int32_t *priority);
TVN_API TVNrescodee TVN_getvarbranchdir(TVNtask_t task, int32_t j, int32_t *direction);

/* The class of the problem: TVN_PROBTYPE_*. Integrality does not count. */
TVN_API TVNrescodee TVN_getprobtype(TVNtask_t task, int32_t *probtype);

/* Removes num items; repeated indices count once. Later items move down.
 * Codes: TVN_RES_ERR_REMOVE_CONE_VARIABLE (a cone would lose a head member). */
TVN_API TVNrescodee TVN_remove(TVNtask_t task, int32_t accmode, int32_t num, const int32_t *sub);
/* item: TVN_PI_VAR, TVN_PI_CON or TVN_PI_CONE. Codes: TVN_RES_ERR_PRO_ITEM. */
TVN_API TVNrescodee TVN_removeall(TVNtask_t task, int32_t item);
/* Constraint i becomes constraint perm[i]; those that come to newnum or behind are removed.
 *   accmode in: TVN_ACC_CON; TVN_ACC_VAR is a fatal stop.
 * Codes: TVN_RES_ERR_ARGUMENT_PERM_ARRAY, TVN_RES_ERR_INVALID_ACCMODE. */
TVN_API TVNrescodee TVN_permuteandremove(TVNtask_t task, int32_t accmode, int32_t newnum, const int32_t *perm);

/* The nonlinear part of the problem; the problem is then of type TVN_PROBTYPE_GECO, or TVN_PROBTYPE_MIXED with cones.
 * Two null functions take it away; it stays when the data of the task are deleted. Such a task cannot be cloned
 * (TVN_RES_ERR_CANNOT_CLONE_NL) nor have its constraints permuted (TVN_RES_ERR_CANNOT_HANDLE_NL). No file
 * holds it: TVN_writedata refuses such a task.
 * Codes: TVN_RES_ERR_NULL_POINTER (one function without the other). */
TVN_API TVNrescodee TVN_putnlfunc(TVNtask_t task, void *nlhandle, TVN_nlgetspfunc nlgetsp, TVN_nlgetvafunc nlgetva);
/* Each output may be null. */
TVN_API TVNrescodee TVN_getnlfunc(TVNtask_t task, void **nlhandle, TVN_nlgetspfunc *nlgetsp, TVN_nlgetvafunc *nlgetva);

/* Looks for NaN in costs and bounds, and for a constant of the objective that is no number. Codes:
 * TVN_RES_ERR_NAN_IN_BLC, _BUC, _C, _BLX, _BUX, _DOUBLE_DATA. */
TVN_API TVNrescodee TVN_checkdata(TVNtask_t task);

/* ==== names ====================================================================================================
 *
 * item is TVN_PI_VAR, TVN_PI_CON or TVN_PI_CONE; another value gives TVN_RES_ERR_PRO_ITEM. maxlen is the size of the
 * buffer with its terminator; a longer name gives TVN_RES_ERR_NAME_MAX_LEN, an empty string in the buffer, and still
 * its length without terminator in len. len and name may be null. */

/* Names of one kind differ, but for the empty ones.
 * Codes: TVN_RES_ERR_DUP_NAME, TVN_RES_ERR_NAME_IS_NULL. */
TVN_API TVNrescodee TVN_putname(TVNtask_t task, int32_t item, int32_t i, const char *name);
TVN_API TVNrescodee TVN_getname(TVNtask_t task, int32_t item, int32_t i, int32_t maxlen, int32_t *len, char *name);
TVN_API TVNrescodee TVN_getname64(TVNtask_t task, int32_t item, int32_t i, int64_t maxlen, int64_t *len, char *name);
/* The name, or with generic nonzero the one that a writer takes for an item without name: "x", "c" or "k" with the index
 * plus TVN_IPAR_WRITE_GENERIC_NAMES_IO. */
TVN_API TVNrescodee TVN_getnamex(TVNtask_t task, int32_t item, int32_t i, int32_t maxlen, int32_t *len, char *name,
                                 int32_t generic);
TVN_API TVNrescodee TVN_getnameapi64(TVNtask_t task, int32_t item, int32_t i, int64_t maxlen, char *name);
TVN_API TVNrescodee TVN_getnamelen64(TVNtask_t task, int32_t item, int32_t i, int64_t *len);
TVN_API TVNrescodee TVN_getconname(TVNtask_t task, int32_t i, int32_t maxlen, char *name);
TVN_API TVNrescodee TVN_getvarname(TVNtask_t task, int32_t j, int32_t maxlen, char *name);
/* asgn out or null: 1 when an item bears the name; index out or null: that item, else unchanged. */
TVN_API TVNrescodee TVN_getnameindex(TVNtask_t task, int32_t item, const char *name, int32_t *asgn, int32_t *index);
/* Length of the longest name of all items and the objective. */
TVN_API TVNrescodee TVN_getmaxnamelen(TVNtask_t task, int32_t *maxlen);
TVN_API TVNrescodee TVN_putobjname(TVNtask_t task, const char *name);
TVN_API TVNrescodee TVN_getobjname(TVNtask_t task, int32_t maxlen, int32_t *len, char *name);
TVN_API TVNrescodee TVN_puttaskname(TVNtask_t task, const char *name);
TVN_API TVNrescodee TVN_gettaskname(TVNtask_t task, int32_t maxlen, int32_t *len, char *name);

/* ==== reading and writing ====================================================================================== */

/* Reads a problem from a file in place of the one that the task holds.
 *   filename in: UTF-8, null or "" for the value of TVN_SPAR_DATA_FILE_NAME. The format comes from
 *                TVN_IPAR_READ_DATA_FORMAT or the extension (mps, fmps; none is mps); a name that ends in ".gz" is a
 *                gzip file.
 * Codes: TVN_RES_ERR_INVALID_FILE_NAME (no name), TVN_RES_ERR_FILE_OPEN, TVN_RES_ERR_READ_FORMAT (a format that cannot
 * be read; these three leave the task as it was); TVN_RES_ERR_FILE_READ (damaged, for example cut off),
 * TVN_RES_ERR_END_OF_FILE (ends before its last section), TVN_RES_ERR_MPS_* with the line on the error stream,
 * TVN_RES_TRM_USER_CALLBACK. After these the task holds what was read before the fault. */
TVN_API TVNrescodee TVN_readdata(TVNtask_t task, const char *filename);

/* Writes the problem to a file. filename: null or "" for TVN_SPAR_DATA_FILE_NAME. The format is that of
 * TVN_IPAR_WRITE_DATA_FORMAT or, when that is TVN_DATA_FORMAT_EXTENSION, of the name's extension; MPS is written. A name
 * that ends in "gz" makes a gzip stream; TVN_IPAR_WRITE_DATA_COMPRESSED does too and appends ".gz" to the name. When an
 * item has no name all names are replaced by generic ones, with TVN_RES_WRN_USING_GENERIC_NAMES. The task is unchanged.
 * Returns TVN_RES_ERR_FILE_OPEN, TVN_RES_ERR_FILE_WRITE, TVN_RES_ERR_INVALID_FORMAT_TYPE for a format that cannot be
 * written, TVN_RES_ERR_WRITE_MPS_INVALID_NAME for a name that could not be read back, or the code of a callback; and
 * before the file is touched TVN_RES_ERR_CANNOT_HANDLE_NL (functions of the user), TVN_RES_ERR_INVALID_OBJ_NAME (the
 * objective has the name of a constraint) or a code of TVN_checkdata. */
TVN_API TVNrescodee TVN_writedata(TVNtask_t task, const char *filename);

/* Writes four lines about the file that was read last to a stream, when TVN_IPAR_LOG is at least 1.
 * Codes: TVN_RES_ERR_INVALID_STREAM. */
TVN_API TVNrescodee TVN_readsummary(TVNtask_t task, int32_t whichstream);

/* ==== optimize ================================================================================================= */

/* Solves the problem of the task by the optimizer that TVN_IPAR_OPTIMIZER names. With TVN_OPTIMIZER_FREE a linear problem
 * goes to the interior-point optimizer and on to a basis, or to the simplex where that is surely or by a trial the
 * faster; the log says which, and both slots are filled. Solutions are read afterwards; their statuses rest on the
 * residuals of the problem as it was entered.
 * Returns TVN_RES_OK; a termination code (4000 and over: time, iterations, callback, numerical trouble), the solution
 * then holds what stands; TVN_RES_ERR_INV_OPTIMIZER when no optimizer of the library takes the problem and
 * TVN_RES_ERR_MIO_NO_OPTIMIZER for integer variables (set TVN_IPAR_MIO_MODE to TVN_MIO_MODE_IGNORED to solve the
 * relaxation); TVN_RES_ERR_NAN_IN_* from the check of the data. The problem is never changed. */
TVN_API TVNrescodee TVN_optimize(TVNtask_t task);

/* TVN_optimize that tells terminations apart: their code goes to *trmcode (may be null; TVN_RES_OK if there was none)
 * and the function returns TVN_RES_OK. */
TVN_API TVNrescodee TVN_optimizetrm(TVNtask_t task, TVNrescodee *trmcode);

/* Prints iterations and seconds of each part of the last run to the message stream, if TVN_IPAR_LOG is positive. */
TVN_API TVNrescodee TVN_optimizersummary(TVNtask_t task);

/* Prints statuses, objective values and infeasibilities of the defined solutions to the stream (TVN_STREAM_*).
 * Returns TVN_RES_ERR_INVALID_STREAM for a stream that is none. */
TVN_API TVNrescodee TVN_solutionsummary(TVNtask_t task, int32_t whichstream);

/* ==== solutions ================================================================================================
 *
 * whichsol is TVN_SOL_ITR, TVN_SOL_BAS or TVN_SOL_ITG; another value gives TVN_RES_ERR_WHICHSOL. Reading a solution
 * that is not defined gives TVN_RES_ERR_UNDEF_SOLUTION. The items: skc, skx, skn status keys (TVN_SK_*) of constraints,
 * variables and cones; xc, xx activities and values; y constraint duals; slc, suc, slx, sux duals of the bounds; snx
 * duals of the cones. y = slc - suc, and c - A'y = slx - sux + snx; for a minimisation the s are not negative. */

/* isdef out or null: 1 when the solution can be read. */
TVN_API TVNrescodee TVN_solutiondef(TVNtask_t task, int32_t whichsol, int32_t *isdef);
TVN_API TVNrescodee TVN_undefsolution(TVNtask_t task, int32_t whichsol);
/* Room for the solution, all 0 and not yet defined; nothing when it has room. */
TVN_API TVNrescodee TVN_makesolution(TVNtask_t task, int32_t whichsol);
/* Frees the memory of one solution or of all. */
TVN_API TVNrescodee TVN_deletesolution(TVNtask_t task, int32_t whichsol);
TVN_API TVNrescodee TVN_deletesolutions(TVNtask_t task);
/* Makes the solution defined, with all values 0 and unknown solution status. */
TVN_API TVNrescodee TVN_makesolutionstatusunknown(TVNtask_t task, int32_t whichsol);

/* All items, each output may be null. Lengths: constraints skc, xc, y, slc, suc; variables skx, xx, slx, sux, snx;
 * cones skn. skn and snx are filled for the interior solution only, the duals not for the integer one. */
TVN_API TVNrescodee TVN_getsolution(TVNtask_t task, int32_t whichsol, int32_t *prosta, int32_t *solsta, int32_t *skc,
                                    int32_t *skx, int32_t *skn, double *xc, double *xx, double *y, double *slc,
                                    double *suc, double *slx, double *sux, double *snx);
/* One constraint or variable; items that the solution lacks read as 0. */
TVN_API TVNrescodee TVN_getsolutioni(TVNtask_t task, int32_t accmode, int32_t i, int32_t whichsol, int32_t *sk,
                                     double *x, double *sl, double *su, double *sn);
/* One item TVN_SOL_ITEM_* over first .. last - 1; values: [last - first].
 * Codes: TVN_RES_ERR_SOLITEM (the solution has no such item), TVN_RES_ERR_NULL_POINTER. */
TVN_API TVNrescodee TVN_getsolutionslice(TVNtask_t task, int32_t whichsol, int32_t solitem, int32_t first,
                                         int32_t last, double *values);
TVN_API TVNrescodee TVN_getsolutionstatuskeyslice(TVNtask_t task, int32_t accmode, int32_t whichsol, int32_t first,
                                                  int32_t last, int32_t *sk);
/* prosta TVN_PRO_STA_*, solsta TVN_SOL_STA_*; each may be null. */
TVN_API TVNrescodee TVN_getsolutionstatus(TVNtask_t task, int32_t whichsol, int32_t *prosta, int32_t *solsta);
/* TVN_getsolution for a progress callback: the best integer solution known, when where, the code that the callback was
 * called with, is TVN_CALLBACK_IM_MIO or TVN_CALLBACK_NEW_INT_MIO and whichsol is TVN_SOL_ITG.
 * Codes: TVN_RES_ERR_NO_SOLUTION_IN_CALLBACK otherwise, or while there is none; nothing is printed then. */
TVN_API TVNrescodee TVN_getsolutionincallback(TVNtask_t task, int32_t where, int32_t whichsol, int32_t *prosta,
                                              int32_t *solsta, int32_t *skc, int32_t *skx, int32_t *skn, double *xc,
                                              double *xx, double *y, double *slc, double *suc, double *slx,
                                              double *sux, double *snx);
/* slx - sux over the variables first .. last - 1. Codes: TVN_RES_ERR_NO_DUAL_FOR_ITG_SOL. */
TVN_API TVNrescodee TVN_getreducedcosts(TVNtask_t task, int32_t whichsol, int32_t first, int32_t last,
                                        double *redcosts);

/* Puts a whole solution, for instance as a start; the statuses become unknown. Null arrays store 0.
 * Codes: TVN_RES_ERR_NULL_POINTER (skc with constraints, skx with variables), TVN_RES_ERR_INV_SKC,
 * TVN_RES_ERR_INV_SKX, TVN_RES_ERR_INV_SKN. */
TVN_API TVNrescodee TVN_putsolution(TVNtask_t task, int32_t whichsol, const int32_t *skc, const int32_t *skx,
                                    const int32_t *skn, const double *xc, const double *xx, const double *y,
                                    const double *slc, const double *suc, const double *slx, const double *sux,
                                    const double *snx);
/* One constraint or variable; the solution status becomes unknown. Codes: TVN_RES_ERR_INV_SK. */
TVN_API TVNrescodee TVN_putsolutioni(TVNtask_t task, int32_t accmode, int32_t i, int32_t whichsol, int32_t sk, double x,
                                     double sl, double su, double sn);
/* The dual of constraint i; nothing for the integer solution. */
TVN_API TVNrescodee TVN_putsolutionyi(TVNtask_t task, int32_t i, int32_t whichsol, double y);
/* The defined flag and the statuses alone. */
TVN_API TVNrescodee TVN_putsolini(TVNtask_t task, int32_t whichsol, int32_t flag);
TVN_API TVNrescodee TVN_putprosta(TVNtask_t task, int32_t whichsol, int32_t prosta);
TVN_API TVNrescodee TVN_putsolsta(TVNtask_t task, int32_t whichsol, int32_t solsta);

/* Objective values, computed from the problem; -1e30 and 1e30 after a failure. The dual one of a nonlinear problem is
 * that of the Lagrangian at the solution. Codes: TVN_RES_ERR_MIXED_PROBLEM. */
TVN_API TVNrescodee TVN_getprimalobj(TVNtask_t task, int32_t whichsol, double *primalobj);
TVN_API TVNrescodee TVN_getdualobj(TVNtask_t task, int32_t whichsol, double *dualobj);

/* Violations of the items sub[0 .. num - 1], one output each: bounds, dual bounds, A x = xc, dual equations, cones,
 * dual cones, integrality (entries of continuous variables stay). normalize nonzero divides by the size of the data.
 * TVN_getpeqi counts the nonlinear terms of the constraints, TVN_getdeqi the gradient of user functions, but not that
 * of quadratic terms; TVN_getsolutioninf counts all.
 * Codes: TVN_RES_ERR_INFEAS_UNDEFINED (no duals in the solution). */
TVN_API TVNrescodee TVN_getpbi(TVNtask_t task, int32_t whichsol, int32_t accmode, const int32_t *sub, int32_t num,
                               double *pbi, int32_t normalize);
TVN_API TVNrescodee TVN_getdbi(TVNtask_t task, int32_t whichsol, int32_t accmode, const int32_t *sub, int32_t num,
                               double *dbi, int32_t normalize);
TVN_API TVNrescodee TVN_getpeqi(TVNtask_t task, int32_t whichsol, const int32_t *sub, int32_t num, double *peqi,
                                int32_t normalize);
TVN_API TVNrescodee TVN_getdeqi(TVNtask_t task, int32_t whichsol, int32_t accmode, const int32_t *sub, int32_t num,
                                double *deqi, int32_t normalize);
TVN_API TVNrescodee TVN_getpcni(TVNtask_t task, int32_t whichsol, const int32_t *sub, int32_t num, double *pcni);
TVN_API TVNrescodee TVN_getdcni(TVNtask_t task, int32_t whichsol, const int32_t *sub, int32_t num, double *dcni);
TVN_API TVNrescodee TVN_getinti(TVNtask_t task, int32_t whichsol, const int32_t *sub, int32_t num, double *inti);

/* Statuses, objective values and the largest violations of a solution; each output may be null, the dual ones are 0 for
 * the integer solution. Codes: TVN_RES_ERR_MIXED_PROBLEM, TVN_RES_ERR_USER_NLO_FUNC. */
TVN_API TVNrescodee TVN_getsolutioninf(TVNtask_t task, int32_t whichsol, int32_t *prosta, int32_t *solsta,
                                       double *primalobj, double *maxpbi, double *maxpcni, double *maxpeqi,
                                       double *maxinti, double *dualobj, double *maxdbi, double *maxdcni,
                                       double *maxdeqi);
/* Stores the same in the information items TVN_DINF_SOL_* and TVN_IINF_SOL_* of the solution. */
TVN_API TVNrescodee TVN_updatesolutioninfo(TVNtask_t task, int32_t whichsol);

/* ==== basis solves ==============================================================================================
 *
 * Let m be the number of constraints. The basis matrix B has a column for each of the m items with key TVN_SK_BAS in
 * the basic solution: the column of A for a variable, minus a unit vector for the slack of a constraint (the equations
 * are A x - xc = 0), or plus a unit vector while TVN_IPAR_BASIS_SOLVE_USE_PLUS_ONE is on. The numbers are the user's
 * own, without presolve and scaling. The factor of B stays in the task; it is that of the keys and of A as they were at
 * TVN_initbasissolve, and is lost by a run of a simplex optimizer. A failed TVN_initbasissolve leaves no factor
 * behind. */

/* Room in the task for the factor; TVN_initbasissolve calls it. With TVN_IPAR_SIM_HOTSTART_LU off a factor that stands
 * is deleted first. Returns TVN_RES_ERR_SPACE when memory is exhausted. */
TVN_API TVNrescodee TVN_setupbasis(TVNtask_t task);

/* Factors the basis of the basic solution. basis out [m] or null: what stands at each position, i < m is the slack of
 * constraint i, m + j variable j. Returns TVN_RES_ERR_NO_BASIS_SOL without a basic solution, TVN_RES_ERR_BASIS when the
 * number of basic items is not m, TVN_RES_ERR_BASIS_SINGULAR for dependent columns (the error stream tells the rank and
 * a dependent item), TVN_RES_ERR_SPACE. */
TVN_API TVNrescodee TVN_initbasissolve(TVNtask_t task, int32_t *basis);

/* Solves B x = b (transp 0; b by constraint, x by position of the basis) or B' y = c (transp not 0; c by position, y by
 * constraint), in place. numnz in/out: entries of sub; sub in/out [m]: indices of the entries that may be nonzero, in
 * any order, one that occurs twice counts once; val in/out [m]: the values by index, those not in sub are not read and
 * must be 0. On return the three hold the result, sub its nonzeros. sub and val have room for m entries whatever numnz
 * is on entry.
 * Returns TVN_RES_ERR_BASIS before TVN_initbasissolve or when m has changed since, TVN_RES_ERR_BASIS_FACTOR when the
 * last factorisation failed or a simplex optimizer has run since, TVN_RES_ERR_NULL_POINTER, TVN_RES_ERR_IN_ARGUMENT for
 * a numnz that is negative or above m, TVN_RES_ERR_INDEX_ARR_IS_TOO_SMALL and _LARGE for an index that is none,
 * TVN_RES_ERR_NAN_IN_DOUBLE_DATA for an entry that is not finite, TVN_RES_ERR_OVERFLOW when the result is not. After an
 * error the arrays are as they were. */
TVN_API TVNrescodee TVN_solvewithbasis(TVNtask_t task, int32_t transp, int32_t *numnz, int32_t *sub, double *val);

/* One-norms of the basis matrix and of its inverse, each may be null; their product is the condition number. The second
 * is an estimate from below by a few solves (Hager 1984), mostly within a factor of 3. Factors the basis anew.
 * Returns the codes of TVN_initbasissolve, and TVN_RES_ERR_OVERFLOW when a norm is not finite. */
TVN_API TVNrescodee TVN_basiscond(TVNtask_t task, double *nrmbasis, double *nrminvbasis);

#ifdef __cplusplus
}
#endif

#endif
