// If these failed in the field: a caller would get the duals of cones in the wrong sense, another answer with another
// number of threads, or could not stop a conic run.
#include "envtask.h"
#include "lptask.h"
#include "support/conecase.h"

#include <set>

using namespace tvntest;
using namespace apitest;

namespace {

struct Conic : EnvTask {
  void set(int32_t param, int32_t value) { ASSERT_EQ(TVN_putintparam(task, param, value), TVN_RES_OK); }
  void put(const cone_case& k, bool maximize) {
    lp_case p = maximize ? negated(k.p) : k.p;
    int32_t numcone = 0;
    ASSERT_EQ(TVN_getnumcone(task, &numcone), TVN_RES_OK);
    while (numcone > 0) ASSERT_EQ(TVN_removecone(task, --numcone), TVN_RES_OK);
    ASSERT_EQ(input(task, p), TVN_RES_OK);
    ASSERT_EQ(TVN_putobjsense(task, maximize ? TVN_OBJECTIVE_SENSE_MAXIMIZE : TVN_OBJECTIVE_SENSE_MINIMIZE),
              TVN_RES_OK);
    for (size_t c = 0; c < k.members.size(); c++)
      ASSERT_EQ(TVN_appendcone(task, k.type[c], 0, int32_t(k.members[c].size()), k.members[c].data()), TVN_RES_OK);
  }
  // As that of the minimisation.
  outcome solution(const cone_case& k, bool maximize) {
    outcome a = stored_solution(task, TVN_SOL_ITR, k.p);
    EXPECT_EQ(TVN_getsolutionslice(task, TVN_SOL_ITR, TVN_SOL_ITEM_SNX, 0, k.p.n, a.point.snx.data()), TVN_RES_OK);
    if (maximize) {
      a.point = with_negated_duals(a.point);
      negate(a.point.snx);
    }
    return a;
  }
};

// Codes that were heard, and a stop at one of the calls.
struct hearer {
  std::set<int32_t> codes;
  int32_t calls = 0, at = 0; // 0: never
  static int32_t hear(TVNtask_t, void* handle, int32_t code) {
    auto& h = *static_cast<hearer*>(handle);
    h.codes.insert(code);
    return ++h.calls == h.at ? 1 : 0;
  }
};

} // namespace

TEST_F(Conic, OptimumInBothSensesWithTheDualsOfTheCones) {
  for (int32_t seed = 0; seed < 60; seed++) {
    SCOPED_TRACE(seed);
    const known_cones k = optimal_cones(uint64_t(seed) + 300, 3 + seed % 9, 6 + seed % 20, 5);
    const bool maximize = seed % 2;
    put(k.k, maximize);
    set(TVN_IPAR_OPTIMIZER, seed % 3 ? TVN_OPTIMIZER_FREE : TVN_OPTIMIZER_CONIC);
    set(TVN_IPAR_PRESOLVE_USE, seed / 2 % 2);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    const outcome a = solution(k.k, maximize);
    EXPECT_EQ(a.solsta, TVN_SOL_STA_OPTIMAL);
    EXPECT_EQ(a.prosta, TVN_PRO_STA_PRIM_AND_DUAL_FEAS);
    EXPECT_LE(k.k.worst(a.point), 2e-6);
    double primal = 0, dual = 0, worst[4] = {};
    ASSERT_EQ(TVN_getsolutioninf(task, TVN_SOL_ITR, nullptr, nullptr, &primal, nullptr, worst, worst + 1, nullptr,
                                 &dual, nullptr, worst + 2, worst + 3),
              TVN_RES_OK);
    const double objective = maximize ? -k.objective : k.objective, tol = 1e-5 * (1 + std::fabs(objective));
    EXPECT_NEAR(primal, objective, tol);
    EXPECT_NEAR(dual, objective, tol);
    EXPECT_LE(*std::max_element(worst, worst + 4), tol);
    int32_t defined = 1;
    EXPECT_EQ(TVN_solutiondef(task, TVN_SOL_BAS, &defined), TVN_RES_OK);
    if (!k.k.members.empty()) { EXPECT_EQ(defined, 0); }
  }
}

TEST_F(Conic, LinearProblemsHaveTheValueOfTheInteriorPointAndThreadsTheSameBits) {
  for (int32_t seed = 0; seed < 10; seed++) {
    known_case k = optimal_case(uint64_t(seed), 12, 20, 0.2, 0.3);
    ASSERT_EQ(input(task, k.p), TVN_RES_OK);
    set(TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_CONIC);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    double objective = NAN;
    ASSERT_EQ(TVN_getprimalobj(task, TVN_SOL_ITR, &objective), TVN_RES_OK);
    EXPECT_NEAR(objective, k.objective, 1e-6 * (1 + std::fabs(k.objective)));
  }
  const known_cones k = optimal_cones(17, 60, 300, 12);
  put(k.k, false);
  std::vector<double> first;
  for (const int32_t threads : {1, 2}) {
    set(TVN_IPAR_INTPNT_NUM_THREADS, threads);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    const std::vector<double> x = solution(k.k, false).point.xx;
    if (threads == 1) first = x;
    EXPECT_TRUE(x == first);
  }
}

TEST_F(Conic, StopsWhereTheCallbackSaysSoAndGoesOnAfterwards) {
  const known_cones k = optimal_cones(5, 40, 120, 9);
  put(k.k, false);
  hearer user;
  ASSERT_EQ(TVN_putcallbackfunc(task, hearer::hear, &user), TVN_RES_OK);
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  for (const int32_t code : {TVN_CALLBACK_BEGIN_CONIC, TVN_CALLBACK_CONIC, TVN_CALLBACK_END_CONIC})
    EXPECT_TRUE(user.codes.count(code)) << code;
  EXPECT_FALSE(user.codes.count(TVN_CALLBACK_INTPNT));
  const int32_t calls = user.calls;
  for (int32_t at = 1; at <= calls; at++) {
    SCOPED_TRACE(at);
    user = {{}, 0, at};
    TVNrescodee trm = -1;
    ASSERT_EQ(TVN_optimizetrm(task, &trm), TVN_RES_OK);
    if (user.calls < at) break; // polls follow the clock, so another run may have fewer of them
    EXPECT_EQ(trm, TVN_RES_TRM_USER_CALLBACK);
    const outcome a = solution(k.k, false);
    EXPECT_TRUE(a.solsta == TVN_SOL_STA_UNKNOWN || a.solsta == TVN_SOL_STA_OPTIMAL) << a.solsta;
    for (const double v : a.point.snx) EXPECT_TRUE(std::isfinite(v));
  }
  user = {};
  ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
  EXPECT_LE(k.k.worst(solution(k.k, false).point), 2e-6);
}
