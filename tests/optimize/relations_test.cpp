// If these failed in the field: the same problem, written down in another way, would get another answer.
#include "optimize/optslv.h"
#include "support/oracle.h"

#include <numeric>

using namespace tvntest;

namespace {

struct answer {
  int32_t solsta = 0, iter = 0;
  double objective = 0;
};

struct Relations : testing::Test {
  tvn::sysenv* sys = tvn::TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  ~Relations() override { EXPECT_EQ(tvn::TVN_sysenv_delete(&sys), tvn::sys_code::ok) << "leak"; }

  answer solve(lp_case p, bool presolve) {
    lp_point s(p);
    tvn::solution_view sol = s.view();
    tvn::ipm_param param;
    param.presolve = presolve;
    tvn::ipm_info info;
    tvn::TVN_opt_ipmslv(*sys, p.view(), param, info, {}, sol);
    return {info.solsta, info.numiter, info.objective};
  }
};

// Entry by entry: rows and columns renamed, rows and columns times powers of two, each row so many times.
struct rewriting {
  std::vector<int32_t> row, col; // new index of an old one
  std::vector<double> rowscale, colscale;
  int32_t copies = 1;
};

std::vector<int32_t> shuffled(int32_t n, std::mt19937_64& rng) {
  std::vector<int32_t> order(static_cast<size_t>(n));
  std::iota(order.begin(), order.end(), 0);
  std::shuffle(order.begin(), order.end(), rng);
  return order;
}

lp_case rewritten(const lp_case& p, const rewriting& w) {
  lp_case q;
  q.n = p.n;
  q.m = p.m * w.copies;
  q.cfix = p.cfix;
  q.c.resize(size_t(p.n)), q.blx = q.bux = q.c;
  q.blc.resize(size_t(q.m)), q.buc = q.blc;
  const auto scaled = [](double v, double by) { return std::fabs(v) >= 1e30 ? v : v * by; };
  for (size_t i = 0; i < size_t(p.m); i++)
    for (int32_t k = 0; k < w.copies; k++) {
      const size_t to = size_t(w.row[i] + k * p.m);
      q.blc[to] = scaled(p.blc[i], w.rowscale[i]);
      q.buc[to] = scaled(p.buc[i], w.rowscale[i]);
    }
  std::vector<size_t> from(size_t(p.n));
  for (size_t j = 0; j < from.size(); j++) from[size_t(w.col[j])] = j;
  for (const size_t j : from) {
    const auto to = size_t(w.col[j]);
    q.beg.push_back(static_cast<int64_t>(q.sub.size()));
    for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++)
      for (int32_t k = 0; k < w.copies; k++) {
        const auto i = size_t(p.sub[size_t(e)]);
        q.sub.push_back(w.row[i] + k * p.m);
        q.val.push_back(p.val[size_t(e)] * w.rowscale[i] * w.colscale[j]);
      }
    q.c[to] = p.c[j] * w.colscale[j];
    q.blx[to] = scaled(p.blx[j], 1 / w.colscale[j]);
    q.bux[to] = scaled(p.bux[j], 1 / w.colscale[j]);
  }
  q.beg.push_back(static_cast<int64_t>(q.sub.size()));
  return q;
}

rewriting same(const lp_case& p) {
  rewriting w;
  w.row.resize(size_t(p.m)), w.col.resize(size_t(p.n));
  std::iota(w.row.begin(), w.row.end(), 0);
  std::iota(w.col.begin(), w.col.end(), 0);
  w.rowscale.assign(size_t(p.m), 1.0), w.colscale.assign(size_t(p.n), 1.0);
  return w;
}

// With both certificates either one is right.
bool is_answer(int32_t solsta) {
  return solsta == tvn::sol_optimal || solsta == tvn::sol_prim_infeas_cer || solsta == tvn::sol_dual_infeas_cer;
}

} // namespace

TEST_F(Relations, TheSameProblemHasTheSameAnswer) {
  int32_t moreiterations = 0, unanswered = 0;
  for (uint64_t seed = 0; seed < 300; seed++) {
    SCOPED_TRACE(seed);
    std::mt19937_64 rng(seed);
    const lp_case p = seed % 2 == 0 ? nasty_case(seed) : optimal_case(seed, 15, 25, 0.2, 0.3).p;
    const bool presolve = seed % 4 < 2;
    const answer plain = solve(p, presolve);
    rewriting order = same(p), scale = same(p), one = same(p), twice = same(p);
    order.row = shuffled(p.m, rng), order.col = shuffled(p.n, rng);
    for (double& v : scale.rowscale) v = std::ldexp(1, static_cast<int>(rng() % 13) - 6);
    for (double& v : scale.colscale) v = std::ldexp(1, static_cast<int>(rng() % 13) - 6);
    for (double& v : one.rowscale) v = 64;
    twice.copies = 2;
    for (const rewriting* w : {&order, &scale, &one, &twice}) {
      const answer other = solve(rewritten(p, *w), presolve);
      if (!is_answer(plain.solsta) || !is_answer(other.solsta)) {
        unanswered++;
        continue;
      }
      EXPECT_EQ(other.solsta == tvn::sol_optimal, plain.solsta == tvn::sol_optimal) << other.solsta << plain.solsta;
      if (plain.solsta == tvn::sol_optimal) {
        EXPECT_NEAR(other.objective, plain.objective, 1e-6 * (1 + std::fabs(plain.objective)));
      }
      moreiterations += other.iter > plain.iter + 3;
    }
  }
  EXPECT_LE(unanswered, 5);
  EXPECT_LE(moreiterations, 40);
}
