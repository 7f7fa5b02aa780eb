// If this failed in the field: a caller who names too few basics would lose many of those that he names to repairs, and
// a restart after new constraints would begin far from where the last run ended.
#include "simplex/start/startbasis.h"
#include "support/run.h"

using namespace tvntest;

namespace {

struct start {
  int32_t structurals = 0, kept = 0, logicals = 0, keptlogicals = 0; // named by the keys, and in the header
  bool regular = false, moved = false; // as the pattern made it; what stood in the way of regularity has been moved
};

start make_start(lp_case& p, lp_point& keys) {
  const checked_env sys;
  start r;
  const tvn::simplex_param param = direct_param();
  tvn::simplex_info info;
  const tvn::simplex_progress progress;
  tvn::run_watch watch;
  tvn::simplex_work w;
  const tvn::solution_view sol = keys.view();
  EXPECT_TRUE(tvn::TVN_simplex_compressproblem(*sys, p.view(), {}, watch, w, &sol));
  tvn::simplex_state s(*sys, param, info, progress, watch, w);
  tvn::TVN_simplex_setupstate(s);
  tvn::TVN_simplex_basisfromkeys(s, sol);
  r.regular = tvn::TVN_simplex_factor(s.fac) == tvn::factor_result::full;
  if (!r.regular) {
    tvn::TVN_simplex_movefill(s, sol);
    r.moved = tvn::TVN_simplex_factor(s.fac) == tvn::factor_result::full;
  }
  int32_t basics = 0;
  for (int32_t j = 0; j < w.total; j++) {
    const bool named = tvn::TVN_simplex_userkey(w, sol, j) == tvn::sk_bas, in = s.fac.pos[j] >= 0;
    basics += in;
    (w.is_logical(j) ? r.logicals : r.structurals) += named;
    (w.is_logical(j) ? r.keptlogicals : r.kept) += named && in;
  }
  EXPECT_EQ(basics, w.m);
  EXPECT_EQ(info.numbasics, r.structurals + r.logicals);
  for (int32_t k = 0; k < w.m; k++) EXPECT_EQ(s.fac.pos[s.fac.head[k]], k);
  return r;
}

tvn::simplex_info solve(lp_case& p, lp_point& s, int32_t hotstart) {
  tvn::simplex_param param = direct_param();
  param.hotstart = hotstart;
  return run_simplex(p, param, s);
}

// Values without relations among them: what is regular in its pattern is regular.
void blur_values(lp_case& p, std::mt19937_64& rng) {
  for (double& v : p.val) v *= std::uniform_real_distribution<double>(0.9, 1.1)(rng);
}

// Named by their keys: a random part of the basics.
void forget_basics(lp_point& s, std::mt19937_64& rng) {
  for (auto* keys : {&s.skc, &s.skx})
    for (int32_t& k : *keys)
      if (k == tvn::sk_bas && rng() % 3 == 0) k = tvn::sk_low;
}

// A row of random entries that no point within the bounds of interest violates.
void append_loose_rows(lp_case& p, int32_t num, std::mt19937_64& rng) {
  lp_case q = p;
  q.beg.clear();
  q.sub.clear();
  q.val.clear();
  for (size_t j = 0; j < p.c.size(); j++) {
    for (int64_t e = p.beg[j]; e < p.beg[j + 1]; e++) q.put(p.sub[size_t(e)] + num, p.val[size_t(e)]);
    for (int32_t i = 0; i < num; i++)
      if (rng() % 3 == 0) q.put(i, static_cast<double>(rng() % 5) + 1);
    q.end_column();
  }
  q.m += num;
  q.blc.insert(q.blc.begin(), static_cast<size_t>(num), -1e6);
  q.buc.insert(q.buc.begin(), static_cast<size_t>(num), 1e6);
  p = q;
}

} // namespace

TEST(StartBasis, IsRegularAndKeepsWhatCanBeKept) {
  int32_t dropped = 0;
  for (uint64_t seed = 1; seed <= 300; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const int32_t m = 5 + static_cast<int32_t>(seed % 60);
    lp_case p = optimal_case(seed, m, m + static_cast<int32_t>(seed % 7) * 9, 2.0 / m, 0.3).p;
    blur_values(p, rng);
    lp_point s(p);
    if (solve(p, s, 0).solsta != tvn::sol_optimal) continue; // the blur made it infeasible
    lp_point fewer = s, more = s;
    forget_basics(fewer, rng);
    const start few = make_start(p, fewer);
    EXPECT_TRUE(few.regular);
    EXPECT_EQ(few.kept, few.structurals) << "a part of a basis is independent";
    EXPECT_EQ(few.keptlogicals, few.logicals);
    std::fill(fewer.skc.begin(), fewer.skc.end(), static_cast<int32_t>(tvn::sk_unk));
    const start bare = make_start(p, fewer);
    EXPECT_TRUE(bare.regular);
    EXPECT_EQ(bare.kept, bare.structurals);
    const double objective = judge(p, s).objective;
    solve(p, fewer, 6);
    expect_optimal(p, fewer, objective, 1e-6 * (1 + std::fabs(objective)));
    for (int32_t& k : more.skx)
      if (rng() % 2 == 0) k = tvn::sk_bas;
    const start many = make_start(p, more);
    dropped += many.structurals + many.logicals - many.kept - many.keptlogicals;
    EXPECT_TRUE(many.regular);
    EXPECT_EQ(many.kept + many.keptlogicals, p.m) << "they hold a basis";
  }
  EXPECT_GT(dropped, 0) << "no start with too many basics was tried";
}

// Entries of one magnitude cancel: regular in its pattern is then not regular.
TEST(StartBasis, MovesLogicalsWhereTheValuesWantThem) {
  int32_t moved = 0;
  for (uint64_t seed = 1; seed <= 300; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    lp_case p = optimal_case(seed, 40, 60, 0.06, 0.3).p;
    for (double& v : p.val) v = v > 0 ? 1 : -1;
    for (size_t i = 0; i < p.blc.size(); i++) p.blc[i] = p.buc[i] = i % 2 ? 0 : static_cast<double>(i);
    for (size_t i = 0; i < p.blc.size(); i += 2) p.blc[i] = -1e30;
    std::fill(p.blx.begin(), p.blx.end(), 0);
    std::fill(p.bux.begin(), p.bux.end(), 10);
    lp_point s(p);
    ASSERT_EQ(solve(p, s, 0).solsta, tvn::sol_optimal);
    const double objective = judge(p, s).objective;
    forget_basics(s, rng);
    const start have = make_start(p, s);
    EXPECT_TRUE(have.regular || have.moved);
    EXPECT_EQ(have.kept, have.structurals);
    EXPECT_EQ(have.keptlogicals, have.logicals);
    moved += have.moved;
    EXPECT_EQ(solve(p, s, 6).solsta, tvn::sol_optimal);
    expect_optimal(p, s, objective, 1e-6 * (1 + std::fabs(objective)));
  }
  EXPECT_GT(moved, 0) << "no start was singular";
}

// New rows in front, of which the keys say nothing, and which cut nothing off: their logicals are the basics missing.
TEST(StartBasis, TakesTheLogicalsOfNewRows) {
  for (uint64_t seed = 1; seed <= 60; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const int32_t num = 1 + static_cast<int32_t>(seed % 9);
    lp_case p = optimal_case(seed, 40, 60, 0.06, 0.3).p;
    lp_point s(p);
    ASSERT_EQ(solve(p, s, 0).solsta, tvn::sol_optimal);
    append_loose_rows(p, num, rng);
    lp_point t(p);
    std::copy(s.skc.begin(), s.skc.end(), t.skc.begin() + num);
    t.skx = s.skx;
    std::fill_n(t.skc.begin(), num, static_cast<int32_t>(tvn::sk_unk));
    const tvn::simplex_info info = solve(p, t, 6);
    ASSERT_EQ(info.solsta, tvn::sol_optimal);
    EXPECT_EQ(info.numbasics + num, p.m);
    EXPECT_EQ(info.basisrank, p.m);
    EXPECT_EQ(iterations(info), 0);
  }
}
