// Wrong verdicts on cones and quadratic rows: a claim that does not hold would reach the user as a status.
//
// Each case is exact; each of its spoilt copies must fail in the figure that it spoils.
#include "support/run.h"
#include "verify/verify.h"

#include <functional>

using namespace tvntest;

namespace {

// A problem with cones or quadratic rows, and what is claimed of it.
struct claim_case {
  lp_case p;
  std::vector<int32_t> type, beg, end, sub; // cones
  std::vector<int64_t> qbeg, qend;          // rows
  std::vector<int32_t> subi, subj;
  std::vector<double> val;
  lp_point s{lp_case{}};
  int32_t claim = tvn::sol_optimal;

  void add_cone(int32_t ct, const std::vector<int32_t>& members) {
    type.push_back(ct);
    beg.push_back(int32_t(sub.size()));
    sub.insert(sub.end(), members.begin(), members.end());
    end.push_back(int32_t(sub.size()));
  }
  tvn::problem_view view() {
    tvn::problem_view v = p.view();
    v.cone = {int32_t(type.size()), type.data(), beg.data(), end.data(), sub.data()};
    if (!qbeg.empty()) v.qrow = {qbeg.data(), qend.data(), subi.data(), subj.data(), val.data()};
    return v;
  }
  tvn::lp_verdict verdict() {
    const checked_env sys;
    return tvn::TVN_verify_claim(*sys, view(), s.view(), claim, {1e-8, 1e-8});
  }
  void expect_sound() { EXPECT_TRUE(verdict().holds) << verdict().primalviol << " " << verdict().dualviol; }
  void expect_unsound(const std::vector<std::function<void(lp_point&)>>& spoils) {
    for (size_t k = 0; k < spoils.size(); k++) {
      claim_case other = *this;
      spoils[k](other.s);
      EXPECT_FALSE(other.verdict().holds) << "spoilt copy " << k;
    }
  }
};

// minimise x0 with x1 = 3, x2 = 4, x3 = 1 and x0 at least the length of (x1, x2); `rotated`: the cone turned, so that
// the head is a sum and x3, at first in no cone, half of the difference.
claim_case shortest(bool rotated) {
  claim_case k;
  const double r = rotated ? std::sqrt(0.5) : 1;
  k.p = {3, 4, 0, {}, {}, {}, {}, {3, 4, 0}, {3, 4, 0}, {}, {}, {}, {}};
  k.p.put(2, rotated ? 1 : 0), k.p.end_column(r, -1e30, 1e30);
  k.p.put(0, 1), k.p.end_column(0, -1e30, 1e30);
  k.p.put(1, 1), k.p.end_column(0, -1e30, 1e30);
  k.p.put(2, rotated ? -1 : 1), k.p.end_column(rotated ? r : 0, -1e30, 1e30);
  if (rotated)
    k.add_cone(tvn::ct_rquad, {0, 3, 1, 2});
  else
    k.add_cone(tvn::ct_quad, {0, 1, 2});
  k.s = lp_point(k.p);
  k.s.xc = {3, 4, 0};
  k.s.xx = {5 * r, 3, 4, rotated ? 5 * r : 0};
  k.s.y = k.s.slc = {0.6, 0.8, 0};
  k.s.snx = {r, -0.6, -0.8, rotated ? r : 0};
  return k;
}

} // namespace

TEST(Cones, AreJudgedByDistanceDualAndProduct) {
  for (const bool rotated : {false, true}) {
    claim_case k = shortest(rotated);
    k.expect_sound();
    k.expect_unsound({
        [](lp_point& s) { s.xx[0] -= 1e-6; },                            // outside
        [](lp_point& s) { s.xx[0] += 1e-3; },                            // no product of 0
        [](lp_point& s) { s.snx[0] *= 0.999; },                          // outside the dual, not equal
        [](lp_point& s) { s.snx[1] = NAN; },                             // nothing
        [](lp_point& s) { s.snx[0] = NAN, s.xx[0] = NAN; },              // nothing
        [](lp_point& s) { std::fill(s.snx.begin(), s.snx.end(), 0.0); }, // no equation
        [](lp_point& s) {
          for (double* v : {&s.snx[1], &s.y[0], &s.slc[0]}) *v *= 2;
        } // the equation holds
    });
  }
  claim_case beside = shortest(false);
  beside.s.snx[3] = 1, beside.s.y[2] = beside.s.suc[2] = -1, beside.s.slc[2] = -2; // a dual where there is no cone
  EXPECT_FALSE(beside.verdict().holds);
}

// x0 <= 4 holds the shortest of above back: the proof adds the bound to the dual of the cone. Without it the objective
// -x0 falls along the cone, and a bound of a member takes its share of the reduced cost.
TEST(Cones, TakePartInCertificatesAndShareReducedCosts) {
  claim_case k = shortest(false);
  k.claim = tvn::sol_prim_infeas_cer;
  k.p.bux[0] = 4;
  k.s.sux[0] = 1;
  k.expect_sound();
  k.expect_unsound({[](lp_point& s) { s.snx[0] = s.sux[0] = 0.9; }, [](lp_point& s) { s.snx[0] = 2; },
                    [](lp_point& s) { s.snx[3] = 1e-3, s.y[2] = s.slc[2] = -1e-3; }});
  claim_case ray = shortest(false);
  ray.claim = tvn::sol_dual_infeas_cer;
  ray.p.c = {-1, 0, 0, 0};
  ray.p.blc = {-1e30, -1e30, -1e30}, ray.p.buc = {1e30, 1e30, 1e30};
  ray.s.xx = {5, 3, 4, 0};
  ray.expect_sound();
  ray.expect_unsound({[](lp_point& s) { s.xx[1] = 3.01; }, [](lp_point& s) { s.xx[0] = -5; }});
  ray.p.c = {-(0.1 + 0.2), 0.5, 0, 0}; // falls by what 0.1 + 0.2 is rounded to
  EXPECT_FALSE(ray.verdict().holds);
  claim_case bounded = shortest(false);
  bounded.p.blx[0] = 6, bounded.s.xx[0] = 6; // above the length: all of the cost belongs to the bound
  bounded.s.slx[0] = 1, bounded.s.snx = {0, 0, 0, 0};
  bounded.s.y = bounded.s.slc = {0, 0, 0};
  bounded.expect_sound();
  bounded.s.snx[0] = 1, bounded.s.slx[0] = 0;
  EXPECT_FALSE(bounded.verdict().holds);
}

// minimise -x - y over x^2 + y^2 <= 2, by the row alone; then over the part with x >= 2, where there is none; then over
// x^2 <= y, where there is no end.
TEST(QuadraticRows, AreJudgedWithTheirMultipliers) {
  claim_case k;
  k.p = {1, 2, 0, {-1, -1}, {0, 0, 0}, {}, {}, {-1e30}, {2}, {-1e30, -1e30}, {1e30, 1e30}, {}, {}};
  k.qbeg = {0}, k.qend = {2}, k.subi = k.subj = {0, 1}, k.val = {2, 2};
  k.s = lp_point(k.p);
  k.s.xc = {2}, k.s.xx = {1, 1}, k.s.y = {-0.5}, k.s.suc = {0.5};
  k.expect_sound();
  k.expect_unsound({[](lp_point& s) {
                      s.xx = {1.001, 1}, s.xc = {2.002001};
                    },
                    [](lp_point& s) { s.xc = {1.9}; }, [](lp_point& s) { s.y[0] = -0.4, s.suc[0] = 0.4; },
                    [](lp_point& s) { s.y[0] = s.slc[0] = 0.5; },
                    [](lp_point& s) {
                      s.xx = {0.5, 0.5}, s.xc = {0.5}, s.y[0] = -1, s.suc[0] = 1;
                    }});
  claim_case none = k;
  none.claim = tvn::sol_prim_infeas_cer;
  none.p.blx[0] = 2;
  none.s.y = {-1}, none.s.suc = {1}, none.s.slx = {4, 0}, none.s.xx = {2, 0};
  none.expect_sound();
  none.expect_unsound({[](lp_point& s) {
                         s.xx = {0, 0};
                       },
                       [](lp_point& s) { s.slx[0] = 3, s.xx[0] = 1.4; },
                       [](lp_point& s) { s.y[0] = s.slc[0] = 1, s.suc[0] = 0, s.xx[0] = -2; }});
  claim_case ray = k;
  ray.claim = tvn::sol_dual_infeas_cer;
  ray.p.beg = {0, 0, 1}, ray.p.sub = {0}, ray.p.val = {-1}, ray.p.buc = {0};
  ray.qend = {1};
  ray.s.xx = {0, 1};
  ray.expect_sound();
  ray.expect_unsound({[](lp_point& s) { s.xx = {1, 1}; }, [](lp_point& s) { s.xx = {1e-4, 1}; }});
}
