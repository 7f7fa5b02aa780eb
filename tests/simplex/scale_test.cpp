// If this failed in the field: scaling would change the problem's numbers, or problems in large units would end without
// a status, or with the proof of an infeasibility that is not there.
#include "simplex/base/work.h"
#include "support/run.h"
#include "verify/verify.h"

using namespace tvntest;

namespace {

struct workshop {
  checked_env sys;
  // Does the working copy differ from the problem by powers of two alone?
  bool is_exact(lp_case& p, const tvn::scale_request& scale, bool& scaled) {
    tvn::run_watch watch;
    tvn::simplex_work w;
    EXPECT_TRUE(tvn::TVN_simplex_compressproblem(*sys, p.view(), scale, watch, w));
    scaled = false;
    int exponent = 0;
    for (int32_t j = 0; j < w.total; j++) {
      if (std::frexp(w.factor(j), &exponent) != 0.5) return false;
      scaled = scaled || w.factor(j) != 1;
      const double lo = j < w.m ? p.blc[size_t(w.row2user[j])] : p.blx[size_t(w.col2user[j - w.m])];
      if (lo > -1e30 && w.shift.size() == 0 && w.lower[j] * w.factor(j) != lo) return false;
    }
    for (int32_t k = 0; k < w.n; k++) {
      auto e = size_t(p.beg[size_t(w.col2user[k])]);
      for (int64_t q = w.colbeg[k]; q < w.colbeg[k + 1]; q++, e++)
        if (w.colval[q] != p.val[e] * w.rowscale[w.colsub[q]] * w.colscale[k]) return false;
    }
    return true;
  }
};

tvn::scale_request geometric() {
  tvn::scale_request scale;
  scale.on = true;
  scale.passes = 6;
  return scale;
}

void multiply_bounds(lp_case& p, double by) {
  for (auto* v : {&p.blc, &p.buc, &p.blx, &p.bux})
    for (double& b : *v)
      if (std::fabs(b) < 1e30) b *= by;
}

} // namespace

TEST(Scaling, IsExactAndLeavesEvenProblemsAlone) {
  workshop shop;
  bool scaled = true;
  lp_case p = optimal_case(1, 20, 30, 0.2, 0.2).p;
  p.bux.assign(p.bux.size(), 1e30); // no column is fixed, so the elements keep their order
  p.blx.assign(p.blx.size(), 0);
  EXPECT_TRUE(shop.is_exact(p, geometric(), scaled));
  EXPECT_FALSE(scaled);
  for (size_t e = 0; e < p.val.size(); e++) p.val[e] *= std::pow(10.0, p.sub[e] % 9 - 4); // the bounds stay
  EXPECT_TRUE(shop.is_exact(p, geometric(), scaled));
  EXPECT_TRUE(scaled);
  EXPECT_TRUE(shop.is_exact(p, {}, scaled));
  EXPECT_FALSE(scaled);
}

TEST(LargeUnits, EndWithTheOptimum) {
  for (uint64_t seed = 1; seed <= 40; seed++)
    for (const double by : {1e6, 1e9}) {
      SCOPED_TRACE("seed " + std::to_string(seed) + " times " + std::to_string(by));
      known_case k = optimal_case(seed, 30, 50, 0.15, 0.4);
      multiply_bounds(k.p, by);
      k.objective = k.p.cfix + (k.objective - k.p.cfix) * by;
      tvn::simplex_param param = direct_param();
      param.optimizer = seed % 2 == 0 ? tvn::kind_primal : tvn::kind_dual;
      param.presolve = seed % 3 == 0 ? 2 : 0;
      param.scaling = seed % 5 == 0 ? 0 : 1;
      const auto [info, s] = run_simplex(k.p, param);
      EXPECT_EQ(info.response, tvn::simplex_code::ok);
      EXPECT_EQ(info.solsta, tvn::sol_optimal);
      EXPECT_NEAR(judge(k.p, s).objective, k.objective, 1e-9 * std::fabs(k.objective));
    }
}

// x = b and x = b + 0.1, the second with an element of 1 + 1e-12: for x of the size of b the error of the element makes
// up for a good part of the difference, and the proof is none.
TEST(LargeUnits, DoNotHideTheErrorOfAProof) {
  for (const double b : {1.0, 1e9}) {
    lp_case p{2, 1, 0, {0}, {0, 2}, {0, 1}, {1, 1 + 1e-12}, {b, b + 0.1}, {b, b + 0.1}, {0}, {1e30}, {}, {}};
    lp_point s(p);
    s.y = {-1, 1};
    s.suc[0] = s.slc[1] = 1;
    const checked_env sys;
    EXPECT_EQ(tvn::TVN_verify_primalcertificate(*sys, p.view(), s.view()) <= 1e-7, b == 1);
  }
}
