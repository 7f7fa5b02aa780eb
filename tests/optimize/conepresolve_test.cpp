// If this failed in the field: presolve turns a problem with cones into another one, or brings back duals that are no
// proof.
#include "optimize/optslv.h"
#include "support/prslvcase.h"

using namespace tvntest;

namespace {

// A linear problem of known optimum with cones over columns of their own. Members are drawn with their duals at the
// apex, on the border or inside; then bounded, fixed, or left without rows and cost.
known_case optimal_cones(uint64_t seed) {
  std::mt19937_64 rng(seed);
  const auto pick = [&](int lo, int hi) { return static_cast<int>(rng() % static_cast<uint64_t>(hi - lo + 1)) + lo; };
  known_case k = optimal_case(seed, pick(2, 6), pick(3, 8), 0.3, 0.3);
  lp_case& p = k.p;
  for (int c = pick(1, 3); c > 0; c--) {
    const auto size = static_cast<size_t>(pick(1, 4));
    const bool rotated = size > 1 && pick(0, 2) == 0;
    std::vector<double> x(size), s(size);
    double xn = 0;
    for (size_t q = 1; q < size; q++) x[q] = pick(0, 3) ? pick(-3, 3) : 0, xn += x[q] * x[q];
    xn = std::sqrt(xn);
    switch (pick(0, 3)) {
    case 0: // inside
      x[0] = xn + pick(1, 3);
      break;
    case 1: // both at the border
      x[0] = xn;
      if (xn > 0) {
        const double f = pick(1, 2);
        s[0] = f * xn;
        for (size_t q = 1; q < size; q++) s[q] = -f * x[q];
      }
      break;
    case 2: // the dual at the apex, too, or inside
      x.assign(size, 0);
      for (size_t q = 1; q < size; q++) s[q] = pick(-2, 2), s[0] += std::fabs(s[q]);
      s[0] += pick(0, 1);
      break;
    default: x[0] = xn; // without a multiplier
    }
    if (rotated)
      for (auto* v : {&x, &s}) {
        const double u = (*v)[0], w = (*v)[1];
        (*v)[0] = (u + w) / std::sqrt(2.0), (*v)[1] = (u - w) / std::sqrt(2.0);
      }
    p.cones.push_back({rotated ? tvn::ct_rquad : tvn::ct_quad, {}});
    for (size_t q = 0; q < size; q++) {
      const int kind = pick(0, 6);
      double cost = s[q], lo = -1e30, up = 1e30;
      if (kind == 1) lo = up = x[q], cost += pick(-2, 2);
      if (kind == 2) lo = x[q] - pick(0, 2), up = x[q] + pick(0, 2);
      if (kind == 3) lo = x[q], cost += pick(0, 2);
      if (kind == 4 && q == 0) lo = std::min(0.0, x[q]);
      for (int e = pick(0, 3); e > 0 && kind != 5; e--) {
        const int i = pick(0, p.m - 1);
        if (!p.sub.empty() && int64_t(p.sub.size()) > p.beg.back() && p.sub.back() >= i) continue;
        const double a = pick(1, 3) * (pick(0, 1) ? 1 : -1);
        p.put(i, a);
        cost += a * k.y[size_t(i)];
        if (p.blc[size_t(i)] > -1e30) p.blc[size_t(i)] += a * x[q];
        if (p.buc[size_t(i)] < 1e30) p.buc[size_t(i)] += a * x[q];
      }
      p.cones.back().members.push_back(p.n++);
      p.end_column(cost, lo, up);
      k.objective += cost * x[q];
    }
  }
  return k;
}

} // namespace

TEST(ConePresolve, KeepsTheOptimumAtEveryDepth) {
  std::array<int64_t, tvn::rt_limit> count{};
  const uint64_t seeds = num_seeds(600);
  uint64_t solved = 0;
  for (uint64_t seed = first_seed(); seed < first_seed() + seeds; seed++) {
    SCOPED_TRACE(seed);
    known_case k = optimal_cones(seed);
    lp_point point(k.p);
    tvn::solution_view sol = point.view();
    presolved w(k.p);
    auditor audit;
    tvn::TVN_prslv_putaudit(*w.ctx, audit.hook());
    EXPECT_EQ(w.reduce({}), tvn::prslv_code::ok);
    ASSERT_NE(w.stats.status, tvn::prs_prim_infeas);
    ASSERT_NE(w.stats.status, tvn::prs_dual_infeas);
    for (size_t t = 0; t < count.size(); t++) count[t] += w.stats.numred[t];
    tvn::reduced_problem r;
    tvn::TVN_prslv_copyreduced(*w.sys, *w.ctx, r);
    tvn::ipm_param param;
    param.presolve = false;
    tvn::ipm_info info;
    tvn::TVN_opt_ipmslv(*w.sys, r.lp, param, info, {}, r.sol);
    if (info.solsta != tvn::sol_optimal) continue;
    EXPECT_NEAR(info.objective, k.objective, 1e-6 * (1 + std::fabs(k.objective)));
    solved++;
    audit.basis = false;
    audit.tol = 1e-5 * (1 + std::fabs(k.objective));
    audit.objective = info.objective;
    tvn::TVN_prslv_spreadreduced(r, k.p.m, k.p.n, sol);
    EXPECT_EQ(tvn::TVN_prslv_postsolve(*w.ctx, w.stats, tvn::sol_optimal, sol), tvn::prslv_code::ok);
    ASSERT_EQ(audit.trouble, "");
    const verdict v = judge_values(k.p, point);
    ASSERT_TRUE(std::max({v.primal, v.dual, v.comp}) <= audit.tol) << v.primal << " " << v.dual << " " << v.comp;
  }
  std::printf("%d of %d\n", int(solved), int(seeds));
  EXPECT_GE(solved, seeds - seeds / 20);
  for (int32_t t = tvn::rt_coneapex; t < tvn::rt_limit; t++) {
    std::printf("type %d: %d\n", t, int(count[size_t(t)]));
    EXPECT_GE(count[size_t(t)], int64_t(seeds / 50)) << "type " << t;
  }
}
