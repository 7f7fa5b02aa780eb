// If these failed in the field: the interior-point optimizer would call a point optimal that is none, prove what is not
// true, leave half a solution after a stop, or give another answer for a problem that is the same.
#include "envtask.h"
#include "lptask.h"

#include <map>
#include <string>

using namespace tvntest;
using namespace apitest;

namespace {

struct Interior : EnvTask {
  void SetUp() override {
    EnvTask::SetUp();
    set(TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_INTPNT);
  }
  void set(int32_t param, int32_t value) { ASSERT_EQ(TVN_putintparam(task, param, value), TVN_RES_OK); }
  void set_form(int32_t k) {
    set(TVN_IPAR_PRESOLVE_USE, k % 2);
    set(TVN_IPAR_INTPNT_SOLVE_FORM, k / 2 % 3);
  }
  outcome solution(const lp_case& p) { return stored_solution(task, TVN_SOL_ITR, p); }
};

bool is_finite(const lp_point& s) {
  for (const auto* v : {&s.xc, &s.xx, &s.y, &s.slc, &s.suc, &s.slx, &s.sux})
    if (!std::all_of(v->begin(), v->end(), [](double x) { return std::isfinite(x); })) return false;
  return true;
}

void expect_values(const lp_case& p, const lp_point& s, double objective, double tol) {
  const verdict v = judge_values(p, s);
  EXPECT_TRUE(v.primal <= tol) << v.primal;
  EXPECT_TRUE(v.dual <= tol) << v.dual;
  EXPECT_TRUE(v.gap <= tol) << v.gap;
  EXPECT_TRUE(std::fabs(v.objective - objective) <= tol * (1 + std::fabs(objective)))
      << v.objective << " " << objective;
}

} // namespace

TEST_F(Interior, ReachesKnownOptimaInAnyFormAndSense) {
  for (int32_t k = 0; k < 60; k++) {
    SCOPED_TRACE(k);
    known_case known = optimal_case(static_cast<uint64_t>(k), 10 + k, 20 + 2 * k, 0.15, 0.3);
    const bool maximise = k % 4 == 3;
    lp_case given = maximise ? negated(known.p) : known.p;
    ASSERT_EQ(input(task, given), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, maximise ? TVN_OBJECTIVE_SENSE_MAXIMIZE : TVN_OBJECTIVE_SENSE_MINIMIZE),
              TVN_RES_OK);
    set_form(k);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    outcome a = solution(known.p);
    EXPECT_EQ(a.solsta, TVN_SOL_STA_OPTIMAL);
    EXPECT_EQ(a.prosta, TVN_PRO_STA_PRIM_AND_DUAL_FEAS);
    expect_values(known.p, maximise ? with_negated_duals(a.point) : a.point, known.objective, 1e-6);
  }
}

// Tiny problems with everything that goes wrong; the simplex, which is proved elsewhere, says what they are.
TEST_F(Interior, GivesNoWrongStatusOnNastyProblems) {
  std::map<int32_t, int32_t> unanswered;
  for (int32_t k = 0; k < 1200; k++) {
    SCOPED_TRACE(k);
    lp_case p = nasty_case(static_cast<uint64_t>(k) + 50000);
    ASSERT_EQ(input(task, p), TVN_RES_OK);
    set(TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_FREE_SIMPLEX);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    const int32_t truth = basic_solution(task, p).solsta;
    double objective = 0;
    ASSERT_EQ(TVN_getprimalobj(task, TVN_SOL_BAS, &objective), TVN_RES_OK);
    set(TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_INTPNT);
    set_form(k);
    TVNrescodee trm = -1;
    ASSERT_EQ(TVN_optimizetrm(task, &trm), TVN_RES_OK);
    const outcome a = solution(p);
    EXPECT_TRUE(is_finite(a.point));
    switch (a.solsta) {
    case TVN_SOL_STA_OPTIMAL:
      EXPECT_EQ(truth, TVN_SOL_STA_OPTIMAL);
      expect_values(p, a.point, objective, 1e-6);
      break;
    case TVN_SOL_STA_PRIM_INFEAS_CER: EXPECT_LE(judge_infeasible(p, a.point), 1e-6); break;
    case TVN_SOL_STA_DUAL_INFEAS_CER: EXPECT_LE(judge_unbounded(p, a.point), 1e-6); break;
    default: unanswered[truth]++;
    }
  }
  int32_t sum = 0;
  for (const auto& [truth, num] : unanswered) {
    std::printf("%d without an answer where the solution status is %d\n", num, truth);
    sum += num;
  }
  EXPECT_LE(sum, 12);
}

namespace {

// A user who says stop at the n-th call, and counts.
struct stopper {
  int32_t calls = 0, at = 0; // 0: never
  static int32_t hear(TVNtask_t, void* handle, int32_t) {
    auto& s = *static_cast<stopper*>(handle);
    return ++s.calls == s.at ? 1 : 0;
  }
};

} // namespace

TEST_F(Interior, LeavesAWholePointAndAUsableTaskWhereverItIsStopped) {
  known_case known = optimal_case(5, 40, 70, 0.1, 0.3);
  ASSERT_EQ(input(task, known.p), TVN_RES_OK);
  stopper user;
  ASSERT_EQ(TVN_putcallbackfunc(task, stopper::hear, &user), TVN_RES_OK);
  for (const int32_t form : {2, 3, 4, 5}) {
    set_form(form);
    user = {};
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    const int32_t calls = user.calls;
    ASSERT_GT(calls, 10);
    for (int32_t at = 1; at <= calls; at++) {
      SCOPED_TRACE("form " + std::to_string(form) + " call " + std::to_string(at));
      user = {0, at};
      TVNrescodee trm = -1;
      ASSERT_EQ(TVN_optimizetrm(task, &trm), TVN_RES_OK);
      if (user.calls < at) break; // polls follow the clock, so another run may have fewer of them
      EXPECT_EQ(trm, TVN_RES_TRM_USER_CALLBACK);
      const outcome a = solution(known.p);
      EXPECT_TRUE(is_finite(a.point));
      EXPECT_TRUE(a.solsta == TVN_SOL_STA_UNKNOWN || a.solsta == TVN_SOL_STA_OPTIMAL) << a.solsta;
    }
  }
  user = {};
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  expect_values(known.p, solution(known.p).point, known.objective, 1e-6);
  for (const bool time : {true, false}) {
    ASSERT_EQ(TVN_putdouparam(task, TVN_DPAR_OPTIMIZER_MAX_TIME, time ? 0 : -1), TVN_RES_OK);
    set(TVN_IPAR_INTPNT_MAX_ITERATIONS, time ? 400 : 2);
    TVNrescodee trm = -1;
    ASSERT_EQ(TVN_optimizetrm(task, &trm), TVN_RES_OK);
    EXPECT_EQ(trm, time ? TVN_RES_TRM_MAX_TIME : TVN_RES_TRM_MAX_ITERATIONS);
    const outcome a = solution(known.p);
    EXPECT_TRUE(is_finite(a.point));
    EXPECT_EQ(a.solsta, TVN_SOL_STA_UNKNOWN);
  }
}

namespace {

struct listener {
  std::string text;
  std::vector<double> objectives;
  int32_t lastiter = -1;
  static void keep(void* handle, const char* s) { static_cast<listener*>(handle)->text += s; }
  static int32_t hear(TVNtask_t task, void* handle, int32_t code) {
    auto& l = *static_cast<listener*>(handle);
    if (code != TVN_CALLBACK_INTPNT) return 0;
    double pobj = 0;
    EXPECT_EQ(TVN_getdouinf(task, TVN_DINF_INTPNT_PRIMAL_OBJ, &pobj), TVN_RES_OK);
    EXPECT_EQ(TVN_getintinf(task, TVN_IINF_INTPNT_ITER, &l.lastiter), TVN_RES_OK);
    l.objectives.push_back(pobj);
    return 0;
  }
};

} // namespace

// The table is in the user's sense and units, whichever form is solved; a callback reads the same figures.
TEST_F(Interior, TellsEachIterationInTheLogAndInTheItems) {
  known_case known = optimal_case(11, 30, 50, 0.2, 0.2);
  lp_case given = negated(known.p);
  ASSERT_EQ(input(task, given), TVN_RES_OK);
  ASSERT_EQ(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE), TVN_RES_OK);
  for (const int32_t form : {TVN_SOLVE_PRIMAL, TVN_SOLVE_DUAL}) {
    SCOPED_TRACE(form);
    set(TVN_IPAR_INTPNT_SOLVE_FORM, form);
    listener l;
    ASSERT_EQ(TVN_linkfunctotaskstream(task, TVN_STREAM_MSG, &l, listener::keep), TVN_RES_OK);
    ASSERT_EQ(TVN_putcallbackfunc(task, listener::hear, &l), TVN_RES_OK);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    EXPECT_NE(l.text.find("ITE  POBJ"), std::string::npos) << l.text;
    EXPECT_NE(l.text.find("Interior-point optimizer terminated."), std::string::npos);
    ASSERT_FALSE(l.objectives.empty());
    EXPECT_NEAR(l.objectives.back(), -known.objective, 1e-5 * (1 + std::fabs(known.objective)));
    EXPECT_EQ(l.lastiter + 1, static_cast<int32_t>(l.objectives.size()));
    int32_t dual = -1, iter = -1;
    EXPECT_EQ(TVN_getintinf(task, TVN_IINF_INTPNT_SOLVE_DUAL, &dual), TVN_RES_OK);
    EXPECT_EQ(dual, form == TVN_SOLVE_DUAL ? 1 : 0);
    EXPECT_EQ(TVN_getintinf(task, TVN_IINF_INTPNT_ITER, &iter), TVN_RES_OK);
    EXPECT_EQ(iter, l.lastiter);
    ASSERT_EQ(TVN_unlinkfuncfromtaskstream(task, TVN_STREAM_MSG), TVN_RES_OK);
  }
}

// A call without a word: both slots, a basis that needs no iteration more, and a start for what comes next.
TEST_F(Interior, IsFollowedByABasisUnderTheFreeChoice) {
  for (int32_t k = 0; k < 24; k++) {
    SCOPED_TRACE(k);
    known_case known = optimal_case(static_cast<uint64_t>(k) + 300, 60 + k, 90 + k, 0.1, 0.4);
    const bool maximise = k % 4 == 3;
    lp_case given = maximise ? negated(known.p) : known.p;
    ASSERT_EQ(TVN_deletesolutions(task), TVN_RES_OK);
    ASSERT_EQ(input(task, given), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, maximise ? TVN_OBJECTIVE_SENSE_MAXIMIZE : TVN_OBJECTIVE_SENSE_MINIMIZE),
              TVN_RES_OK);
    set(TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_FREE);
    set_form(k);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    const auto expect_basic = [&](bool both) {
      outcome a = stored_solution(task, TVN_SOL_BAS, known.p);
      ASSERT_EQ(a.solsta, TVN_SOL_STA_OPTIMAL);
      expect_optimal(known.p, maximise ? with_negated_duals(a.point) : a.point, known.objective, 1e-7);
      if (both) { EXPECT_EQ(solution(known.p).solsta, TVN_SOL_STA_OPTIMAL); }
    };
    expect_basic(true);
    int32_t iterations = -1;
    ASSERT_EQ(TVN_getintinf(task, TVN_IINF_INTPNT_ITER, &iterations), TVN_RES_OK);
    EXPECT_GT(iterations + simplex_iterations(task), 0);
    set(TVN_IPAR_OPTIMIZER, k % 2 ? TVN_OPTIMIZER_FREE : TVN_OPTIMIZER_FREE_SIMPLEX);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    expect_basic(k % 2 != 0);
    EXPECT_EQ(simplex_iterations(task), 0);
  }
}

TEST_F(Interior, HasNoBasicSlotWhenNoneIsWanted) {
  for (const int32_t rows : {12, 60}) {
    lp_case p = optimal_case(9, rows, rows + 30, 0.1, 0.4).p;
    ASSERT_EQ(TVN_deletesolutions(task), TVN_RES_OK);
    ASSERT_EQ(input(task, p), TVN_RES_OK);
    set(TVN_IPAR_OPTIMIZER, rows < 50 ? TVN_OPTIMIZER_FREE : TVN_OPTIMIZER_INTPNT);
    for (const int32_t wish : {TVN_BI_NEVER, TVN_BI_ALWAYS, TVN_BI_NO_ERROR, TVN_BI_IF_FEASIBLE, TVN_BI_OTHER}) {
      ASSERT_EQ(TVN_deletesolutions(task), TVN_RES_OK);
      set(TVN_IPAR_INTPNT_BASIS, wish);
      ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
      int32_t defined = -1;
      ASSERT_EQ(TVN_solutiondef(task, TVN_SOL_BAS, &defined), TVN_RES_OK);
      EXPECT_EQ(defined != 0, wish != TVN_BI_NEVER);
    }
  }
}
