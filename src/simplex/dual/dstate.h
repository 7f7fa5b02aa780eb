// The state of a dual simplex run and the pieces of its loop. What it shares with other optimizers lies in state.h and
// is seen here under the same names.
//
// The values of the basics lie by position in `basic` while the loop runs and go to x at its end. Phase one is phase
// two on a problem with other bounds (a box around zero), so the loop knows no difference.
//
// Who spoils what: a pivot spoils nothing that is maintained (values, d, weights, factor), each carries its rounding; a
// refactorisation makes values and d fresh and keeps the weights. Changing working bounds spoils values, changing costs
// spoils d.
#pragma once

#include "simplex/base/loop.h"

#include <cmath>

namespace tvn {

// What pricing and update want of a basis position, together in one line of the cache.
struct dual_basic {
  double x;        // value
  double lo, up;   // working bounds
  double infeas;   // squared distance to the violated bound, 0 within tolerance
  double weight;   // 1 + squared norm of the row of the inverse, or its stand-in
  uint32_t listed; // on_list, on_top
};
constexpr uint32_t on_list = 1, on_top = 2;

// Candidate of the ratio test.
struct dual_candidate {
  double ratio; // step at which the reduced cost is zero; a little below 0 when its sign is wrong within tolerance
  double pivot; // magnitude of the entry in the pivot row
  int32_t j;
};

struct dual_ratio {
  int32_t q = -1;       // entering variable, -1: none
  double step = 0;      // >= 0
  int32_t numflips = 0; // leading candidates that go to their other bound
};

// Rows that may leave, and their weights.
struct dual_pricing {
  int32_t method = sel_se;
  buffer<int32_t> list; // [m] positions that may be infeasible; others are not
  buffer<int32_t> top;  // [m] those of them whose score may reach the cutoff; others do not
  int32_t numlist = 0, numtop = 0;
  double cutoff = 0;
  int32_t scanstart = 0;     // partial pricing: where the next scan begins
  bool exactweights = false; // begun at a slack basis and kept since without a sign of lost digits
};

struct dual_ratio_work {
  double laststep = 0;         // of the last iteration, the first guess of the next
  buffer<dual_candidate> cand; // [total]
  buffer<double> relaxed;      // [total] least relaxed ratio from here to the end of the sorted candidates
  buffer<int32_t> groupend;    // [total + 1]
};

// The last basis that had a factor.
struct dual_saved_basis {
  buffer<int32_t> head;
  buffer<uint8_t> key;
  buffer<double> weight;
  int64_t iter = 0;
};

// They move, see the loop.
struct dual_tolerances {
  double dual = 1e-7, ratio = 3e-8, piv = 1e-7;
};

// Reduced costs of wrong sign on the true bounds, fresh.
struct dual_infeas {
  int32_t num = 0;
  double sum = 0;
};

// Progress of fresh working objectives.
struct dual_stall {
  int64_t kicks = 0;
  int32_t losses = 0;                              // fresh objectives in a row that fell by more than a tenth
  double lastobj = -HUGE_VAL, bestobj = -HUGE_VAL; // of this phase and cost
  int64_t bestiter = 0, bestsetbacks = 0;          // when that was
  int64_t phasestart = 0;                          // iteration
  bool longrun = false;                            // the costs have been moved far because the phase is long
};

// Bad events and what they leave behind.
struct dual_trouble {
  int64_t setbacks = 0;
  int64_t calmsetbacks = 0;  // at the last recomputation
  int32_t badpivots = 0;     // events that the pivot tolerance answers for, since it was last raised
  int32_t calm = 0;          // recomputations in a row without a setback
  int32_t failedupdates = 0; // of the factor
  int32_t updatelimit = 0;   // on one factor; falls with singular bases and rises in calm times
};

// What a trial has done, for its prediction.
struct dual_effort {
  double factor = 0; // work units of factors before the one at hand, and of solves with them
  double rows = 0;   // entries met by pivot rows
  struct mark {
    int64_t iter = 0;
    double seconds = 0;
  };
  mark early, late; // at half of the iterations so far or before, and after that
};

struct dual_state {
  explicit dual_state(simplex_state& b) : base(b) {}

  simplex_state& base;
  sysenv& sys = base.sys;
  const simplex_param& param = base.param;
  simplex_info& info = base.info;
  simplex_work& work = base.work;
  simplex_fac& fac = base.fac;
  buffer<double>&x = base.x, &lo = base.lo, &up = base.up, &d = base.d, &y = base.y;
  buffer<uint8_t>&key = base.key, &inlist = base.inlist; // listed: nonbasic and not fixed
  spvec &spike = base.spike, &colrow = base.colrow, &aq = base.aq, &unit = base.unit, &rho = base.rho, &tau = base.tau,
        &alpha = base.alpha;
  double& tolfeas = base.tolfeas;

  int32_t phase = 2;        // 1: the bounds are those of the box
  int64_t iter = 0;         // of this run
  bool fresh = false;       // xb and d were computed from scratch since the last pivot
  buffer<dual_basic> basic; // [m] by position
  buffer<int8_t> move;      // [total] direction off the bound: +1 at lower, -1 at upper, 2 free, 0 none
  buffer<double> cost;      // [total] working costs
  bool perturbed = false;   // some working cost differs from the problem's
  bool allowperturb = true;
  dual_pricing price;
  dual_ratio_work ratio;
  dual_tolerances tol;
  dual_infeas inf;
  dual_stall stall;
  dual_trouble bad;
  dual_effort effort;
  dual_saved_basis saved;
  buffer<basis_exchange> exchanges; // [m] of a repair
  bool feasonly = false;            // stop at the first dual feasible basis
  bool handover = false;            // the primal simplex has to finish
};

// --- ends, setbacks and the factor (drefactor.cpp)
constexpr double bannedweight = 1e15;    // of a row whose pivot failed
constexpr int32_t dual_minupdates = 10;  // on one factor, after any number of singular bases
constexpr int32_t dual_maxupdates = 500; // and in calm times, whatever the cost of a solve says
// The primal simplex goes on from here.
loop_state dsimplex_handover(dual_state& s);
loop_state dsimplex_countsetback(dual_state& s); // on a fresh factor
loop_state dsimplex_setback(dual_state& s);
// The pivot tolerance rises after several bad pivots and falls in calm times.
void dsimplex_notebadpivot(dual_trouble& bad, dual_tolerances& tol);
void dsimplex_notecalm(dual_trouble& bad, dual_tolerances& tol, lu& factor, double tolrelpiv);
void dsimplex_savebasis(const dual_state& s, dual_saved_basis& saved);
// Fresh factor of the header, or of an earlier one.
loop_state dsimplex_refactor(dual_state& s);

// --- phases (dphase.cpp)
// Reduced costs from the working costs.
void dsimplex_formd(dual_state& s);
// Makes the signs of d fit the keys: flips what has two bounds, shifts the cost of the rest.
void dsimplex_correctsigns(dual_state& s);
// Size of a reduced cost of wrong sign; 0 for what can rest on the other side.
double dsimplex_trueinfeasibility(const simplex_work& w, int32_t j, double d);
// Counts what is dual infeasible on the true bounds whatever the keys.
void dsimplex_countinf(const dual_state& s, dual_infeas& inf);
void dsimplex_setphaseone(dual_state& s);
void dsimplex_setphasetwo(dual_state& s);
// Keys of the nonbasics by the signs of d, then all that follows from keys: x and move of the nonbasics, bounds by
// position.
void dsimplex_restnonbasics(dual_state& s);
void dsimplex_placenonbasics(dual_state& s);
// Values of the basics from scratch.
void dsimplex_formxb(dual_state& s);

// --- pricing (dprice.cpp)
// After a change of value or weight of position k.
inline void dsimplex_notechange(dual_pricing& p, double tolfeas, int32_t k, dual_basic& b) noexcept {
  const double v = std::max(b.lo - b.x, b.x - b.up);
  if (!(v > tolfeas)) {
    b.infeas = 0;
    return;
  }
  b.infeas = v * v;
  if (!(b.listed & on_list)) p.list[p.numlist++] = k;
  b.listed |= on_list;
  if ((b.listed & on_top) || b.infeas < p.cutoff * b.weight) return;
  b.listed |= on_top;
  p.top[p.numtop++] = k;
}
// 1 plus the squared norm of rho: the true weight of its row.
inline double dsimplex_rownorm(const dual_state& s) noexcept {
  double norm = 1;
  for (int32_t p = 0; p < s.rho.count; p++) norm += s.rho.val[s.rho.idx[p]] * s.rho.val[s.rho.idx[p]];
  return norm;
}
void dsimplex_rebuildlist(dual_pricing& price, buffer<dual_basic>& basic, double tolfeas) noexcept;
int32_t dsimplex_select(dual_pricing& price, buffer<dual_basic>& basic, double tolfeas, int32_t& random);
void dsimplex_resetweights(const dual_state& s, dual_pricing& price, buffer<dual_basic>& basic);
// Weights of an earlier run for the basics of the start; false: there are none of this kind.
bool dsimplex_takeweights(const dual_state& s, dual_pricing& price, buffer<dual_basic>& basic);
void dsimplex_leaveweights(const dual_state& s, simplex_state& base);

// --- ratio test (dratio.cpp): sigma +1 when the leaving variable goes down to its upper bound, -1 when up to its lower
dual_ratio dsimplex_minratio(const dual_state& s, dual_ratio_work& w, double sigma, double delta);

// --- update (dupdate.cpp)
void dsimplex_setmove(const dual_state& s, buffer<int8_t>& move, int32_t j) noexcept;
void dsimplex_flip(dual_state& s, int32_t numflips);
// Uses up the pivot row.
void dsimplex_updateduals(dual_state& s, int32_t q, int32_t leaving, double theta);
// Values and weights of the basics that aq touches; r: the leaving position.
void dsimplex_updatebasics(dual_state& s, int32_t r, double step, double pivot);
void dsimplex_exchange(dual_state& s, int32_t r, int32_t q, bool to_upper);

// --- perturbation (dperturb.cpp)
// Moves the costs of all nonbasics, `factor` times as far as at the start of a phase.
void dsimplex_perturb(dual_state& s, double factor);
// Levels 1 to 3: how far the costs of the nonbasics near zero reduced cost are moved.
void dsimplex_kick(dual_state& s, int32_t level);
void dsimplex_restorecosts(dual_state& s);

// --- start and end (dcrash.cpp, dsuper.cpp)
// Columns into a slack basis; returns their number. The factor is stale if there are any.
int32_t TVN_dsimplex_dualcrash(dual_state& s);
// At an optimum on fresh data: free nonbasics into the basis; returns how many, and then all is to be formed afresh.
int32_t dsimplex_rmsuperbasics(dual_state& s);

// --- audit (dcheck.cpp): stops on a breach
void dsimplex_check(dual_state& s);
// Does the row of the inverse in rho prove that no point is feasible? r: its position, sigma as above.
bool dsimplex_checkcertificate(const dual_state& s, int32_t r, double sigma);

// --- the loop (dsimplex.cpp): the shared state ready with keys, head and x of the nonbasics set. s.handover asks for
// the primal simplex from the basis reached.
void dsimplex_optimize(dual_state& s);
// Runs until the basis is dual feasible: true, or no basis is (s.info.solsta tells the ray) or a limit came first.
bool TVN_simplex_dualfeas(simplex_state& base);

} // namespace tvn
