// If these failed in the field: a portfolio or a design within cones would be called optimal where it is not, or a cone
// problem would get another answer in another form.
#include "support/conecase.h"

#include "optimize/optslv.h"

using namespace tvntest;

namespace {

struct Cones : testing::Test {
  tvn::sysenv* sys = tvn::TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  tvn::ipm_info info;
  ~Cones() override { EXPECT_EQ(tvn::TVN_sysenv_delete(&sys), tvn::sys_code::ok) << "leak"; }

  lp_point solve(cone_case& k, bool presolve = true) {
    tvn::ipm_param param;
    param.presolve = presolve;
    lp_point s(k.p);
    tvn::solution_view sol = s.view();
    tvn::TVN_opt_ipmslv(*sys, k.view(), param, info, {}, sol);
    return s;
  }
};

// TOVAN_SEEDS asks for more.
uint64_t num_seeds(uint64_t usual) {
  const char* const asked = std::getenv("TOVAN_SEEDS");
  return asked ? std::strtoull(asked, nullptr, 10) : usual;
}

known_cones drawn(uint64_t seed) {
  return optimal_cones(seed, int32_t(2 + seed % 13), int32_t(4 + seed % 29), seed % 4 ? 5 : 25);
}

// Of what is claimed.
double breach(const cone_case& k, const lp_point& s, int32_t claim) {
  switch (claim) {
  case tvn::sol_optimal: return k.worst(s);
  case tvn::sol_prim_infeas_cer: return k.worst_infeasible(s);
  case tvn::sol_dual_infeas_cer: return k.worst_unbounded(s);
  default: return 0;
  }
}

} // namespace

TEST_F(Cones, KnownOptimumIsFound) {
  const uint64_t seeds = num_seeds(300);
  uint64_t solved = 0, near = 0;
  for (uint64_t seed = 0; seed < seeds; seed++) {
    known_cones k = drawn(seed);
    const lp_point s = solve(k.k, seed % 2 == 0);
    EXPECT_FALSE(tvn::is_certificate(info.solsta)) << seed;
    near += info.solsta == tvn::sol_near_optimal;
    if (info.solsta != tvn::sol_optimal) {
      std::printf("seed %d: %d\n", int(seed), info.solsta);
      continue;
    }
    solved++;
    EXPECT_LE(k.k.worst(s), 2e-6) << seed;
    EXPECT_NEAR(info.objective, k.objective, 1e-5 * (1 + std::fabs(k.objective))) << seed;
  }
  std::printf("%d of %d, near %d\n", int(solved), int(seeds), int(near));
  EXPECT_GE(solved, seeds - seeds / 50);
}

// Cones over nasty columns: bounds beside them, empty columns, contradicting rows. What is claimed is proved here, and
// other forms of the problem say nothing else.
TEST_F(Cones, ClaimsHoldAndOtherFormsOfAProblemAgree) {
  const uint64_t seeds = num_seeds(300);
  uint64_t answered = 0, count[3] = {0, 0, 0};
  for (uint64_t seed = 0; seed < seeds; seed++) {
    SCOPED_TRACE(seed);
    std::mt19937_64 rng(seed);
    cone_case k = drawn(seed).k;
    if (seed % 3 != 0) {
      k = {};
      k.p = nasty_case(seed);
      const int32_t first = int32_t(rng() % 3), size = std::min(k.p.n - first, int32_t(1 + rng() % 5));
      for (int32_t j = first; j < first + size; j++) {
        if (j == first)
          k.type.push_back(size > 1 && rng() % 2 ? tvn::ct_rquad : tvn::ct_quad), k.members.emplace_back();
        k.members[0].push_back(j);
        if (rng() % 3) k.p.blx[size_t(j)] = -1e30, k.p.bux[size_t(j)] = 1e30;
      }
    }
    cone_case forms[] = {k, turned(k), scaled(k, seed), split(k)};
    int32_t first = 0;
    double objective = 0;
    for (cone_case& f : forms) {
      const lp_point s = solve(f, (seed / 2 + size_t(&f - forms)) % 2 == 0);
      const int32_t claim = info.solsta;
      EXPECT_LE(breach(f, s, claim), 2e-6);
      const bool answer =
          claim == tvn::sol_optimal || claim == tvn::sol_prim_infeas_cer || claim == tvn::sol_dual_infeas_cer;
      answered += answer;
      if (!answer) continue;
      count[claim == tvn::sol_optimal ? 0 : claim == tvn::sol_prim_infeas_cer ? 1 : 2]++;
      if (first == 0) first = claim, objective = info.objective;
      // Without a point on either side both certificates are right.
      EXPECT_EQ(claim == tvn::sol_optimal, first == tvn::sol_optimal) << claim << " " << first;
      if (claim != tvn::sol_optimal || first != claim) continue;
      EXPECT_NEAR(info.objective, objective, 2e-5 * (1 + std::fabs(objective)));
    }
  }
  std::printf("%d of %d; %d %d %d\n", int(answered), int(4 * seeds), int(count[0]), int(count[1]), int(count[2]));
  EXPECT_GE(answered, 4 * seeds - 4 * seeds / 20);
  for (const uint64_t c : count) EXPECT_GT(c, seeds / 20);
}

// Rows that fixed variables use up, but for what their right sides are rounded to.
TEST_F(Cones, RoundingOfARightSideIsNoData) {
  for (uint64_t seed = 0; seed < 100; seed++) {
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> any(0.1, 2);
    const double v = any(rng), a = any(rng), b = any(rng), cost = any(rng);
    cone_case k;
    k.type = {tvn::ct_quad}, k.members = {{1}};
    k.p.m = k.p.n = 2, k.p.c = {-1, cost};
    k.p.put(0, a), k.p.put(1, b), k.p.end_column();
    k.p.end_column();
    k.p.blc = {a * v, -1e30}, k.p.buc = {a * v, b * v}; // the second is used up as well, but not an equality
    k.p.blx = {v, -1e30}, k.p.bux = {v, 1e30};
    const lp_point s = solve(k, false);
    EXPECT_EQ(info.solsta, tvn::sol_optimal) << seed;
    EXPECT_LE(k.worst(s), 2e-6) << seed;
  }
}

TEST_F(Cones, ToleranceOfNoneStillReturnsTheBestPoint) {
  for (uint64_t seed = 0; seed < 20; seed++) {
    known_cones k = drawn(seed);
    tvn::ipm_param param;
    param.hs.tolpfeas = param.hs.toldfeas = param.hs.tolgap = 0;
    lp_point s(k.k.p);
    tvn::solution_view sol = s.view();
    tvn::TVN_opt_ipmslv(*sys, k.k.view(), param, info, {}, sol);
    EXPECT_LE(k.k.worst(s), 1e-5) << seed;
  }
}
