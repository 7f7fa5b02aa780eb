// If these failed in the field: interior-point steps would be wrong, slow by orders of magnitude on problems with long
// columns, or a run would crash where memory or the user's patience ends.
#include "kktcase.h"

#include <gtest/gtest.h>
#include <random>
#include <string>

using namespace tvn;
using namespace tvntest;

namespace {

struct solver {
  sysenv* sys = TVN_sysenv_make(0, nullptr, nullptr, nullptr);
  kktfac k;
  ~solver() {
    k = {};
    TVN_sysenv_delete(&sys);
  }
  kktfac_code setup(const kkt_case& c, const kktfac_params& params = {}) {
    TVN_kktfac_make(*sys, c.m, c.n, params, k);
    return TVN_kktfac_autosetup(k, c.a(), c.q());
  }
  // b: columns first.
  kktfac_code solve(std::vector<double>& b, kkt_target target = kkt_target::exact) {
    return TVN_kktfac_solve(k, target, 1, b.data(), b.data() + k.numcol);
  }
};

struct shape {
  int32_t numlong = 0;    // columns of nearly full length
  double decades = 1;     // of H and D, both sides of 1
  bool quadratic = false; // H is not diagonal
  bool withd = true;      // D is positive
  bool slacks = true;     // a unit column for each row
};

// Full row rank with slacks. H is diagonally dominant.
kkt_case random_case(std::mt19937_64& rng, int32_t m, int32_t n, const shape& s) {
  std::uniform_real_distribution<double> unit(-1, 1);
  const auto number = [&] { return rng() % 2 ? unit(rng) : static_cast<double>(rng() % 2 ? 1 : -1); };
  const auto size = [&] { return std::pow(10, s.decades * unit(rng)); };
  kkt_case c;
  c.m = m;
  std::vector<int32_t> rows(static_cast<size_t>(m));
  for (int32_t i = 0; i < m; i++) rows[size_t(i)] = i;
  for (int32_t j = 0; j < n && m > 0; j++) {
    std::shuffle(rows.begin(), rows.end(), rng);
    const auto len = j < s.numlong ? m - static_cast<int32_t>(rng() % 3 == 0) : static_cast<int32_t>(rng() % 4);
    for (int32_t q = 0; q < std::min(len, m); q++) c.put(rows[size_t(q)], number());
    c.end_column(size());
  }
  for (int32_t i = 0; s.slacks && i < m; i++) {
    c.put(i, 1.0);
    c.end_column(size());
  }
  for (int32_t i = 0; i < m; i++) c.d.push_back(s.withd ? size() : 0.0);
  if (!s.quadratic) return c;
  for (int32_t j = 0; j < c.n; j++) {
    c.qbeg.push_back(static_cast<int64_t>(c.qsub.size()));
    for (int32_t i = j + 1; i < c.n; i++)
      if (rng() % 8 == 0) {
        c.qsub.push_back(i);
        c.hoff.push_back(number() * std::min(c.h[size_t(i)], c.h[size_t(j)]) / c.n);
      }
  }
  c.qbeg.push_back(static_cast<int64_t>(c.qsub.size()));
  return c;
}

std::vector<double> random_vector(std::mt19937_64& rng, int32_t n) {
  std::uniform_real_distribution<double> unit(-1, 1);
  std::vector<double> v(static_cast<size_t>(n));
  for (double& x : v) x = unit(rng);
  return v;
}

std::vector<double> times(const dense& k, const std::vector<double>& v) {
  std::vector<double> b(k.size());
  for (size_t i = 0; i < k.size(); i++) {
    long double sum = 0;
    for (size_t j = 0; j < k.size(); j++) sum += k[i][j] * v[j];
    b[i] = static_cast<double>(sum);
  }
  return b;
}

constexpr double tolresidual = 1e-14; // of norm(K) norm(x) after one step of refinement

} // namespace

// Terms of either sign; what the negative ones take is half of H at most.
void add_terms(std::mt19937_64& rng, kkt_case& c) {
  for (uint64_t num = 1 + rng() % 2, q = 0; q < num; q++) {
    const std::vector<double> v = random_vector(rng, c.n);
    double sum = 0;
    for (size_t j = 0; j < v.size(); j++) sum += v[j] * v[j] / c.h[j];
    c.low.insert(c.low.end(), v.begin(), v.end());
    c.sigma.push_back(rng() % 2 && sum > 0 ? -0.25 / sum : 2.0);
  }
}

// Every third with long columns that only the Schur part knows; conditions up to 1e12.
TEST(Kkt, SolvesLikeADenseOracleAndCountsItsInertia) {
  int32_t judged = 0, withdense = 0, bigsystems = 0;
  for (uint64_t seed = 0; seed < 1200; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const bool longer = seed % 3 == 0;
    shape s;
    s.numlong = longer ? 1 + static_cast<int32_t>(rng() % 4) : 0;
    s.decades = static_cast<double>(rng() % 6);
    s.quadratic = seed % 5 == 1;
    s.withd = seed % 2 == 0;
    s.slacks = seed % 7 != 0 || !s.withd;
    const auto m = static_cast<int32_t>(longer ? 24 + rng() % 16 : rng() % 16);
    kkt_case c = random_case(rng, m, static_cast<int32_t>(rng() % (longer ? 30 : 16)), s);
    if (seed % 4 == 1 && !s.quadratic) add_terms(rng, c);
    const dense full = matrix_of(c);
    const dense_figures truth = figures_of(full);
    if (!(truth.condition <= 1e12L)) continue;
    judged++;
    EXPECT_EQ(truth.positive, c.n) << "the case itself";
    kktfac_params params;
    params.densecol = 1;
    params.ktpe = s.quadratic ? kkt_form::free : static_cast<kkt_form>(rng() % 3);
    params.ordtpe = static_cast<sorder_method>(rng() % 6);
    params.maxlow = 2;
    params.numthr = 1 + static_cast<int32_t>(seed % 2);
    solver t;
    ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
    // The big system has a floor under a D that is 0, which takes a step or two more.
    t.k.params.maxrefine = t.k.info.form == kkt_form::sqdt && !s.withd ? 3 : 1;
    for (int again = 0; again < 2; again++) {
      ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
      EXPECT_EQ(t.k.info.positive, c.n);
      EXPECT_EQ(t.k.info.negative, c.m);
      EXPECT_EQ(t.k.info.zero, 0);
      const std::vector<double> b = random_vector(rng, c.n + c.m);
      std::vector<double> v = b;
      ASSERT_EQ(t.solve(v), kktfac_code::ok);
      EXPECT_LE(relative_residual(full, v, b), tolresidual)
          << "form " << int(t.k.info.form) << " cond " << double(truth.condition) << " dense " << t.k.info.numdense;
    }
    withdense += t.k.info.numdense > 0;
    bigsystems += t.k.info.form == kkt_form::sqdt;
  }
  EXPECT_GT(judged, 1000);
  EXPECT_GT(withdense, 100);
  EXPECT_GT(bigsystems, 400);
}

// What terms leave of each other counts, were it a millionth of them.
TEST(Kkt, CountsInertiaWhereTermsCancel) {
  for (uint64_t seed = 0; seed < 400; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    kkt_case c = random_case(rng, 1 + static_cast<int32_t>(rng() % 4), 1 + static_cast<int32_t>(rng() % 5), {});
    if (seed % 2 == 0) add_terms(rng, c);
    const std::vector<double> v = random_vector(rng, c.n);
    const double size = std::pow(10, rng() % 11), left = std::pow(10, -static_cast<double>(rng() % 7));
    for (const double sigma : {size, seed % 3 == 0 ? -size : -(1 - left) * size}) {
      c.low.insert(c.low.end(), v.begin(), v.end());
      c.sigma.push_back(sigma);
    }
    kktfac_params params;
    params.ktpe = seed % 4 < 2 ? kkt_form::adat : kkt_form::sqdt;
    params.maxlow = 4;
    solver t;
    ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
    EXPECT_EQ(t.k.info.positive, c.n);
    EXPECT_EQ(t.k.info.negative, c.m);
    const dense full = matrix_of(c);
    const std::vector<double> b = random_vector(rng, c.n + c.m);
    std::vector<double> x = b;
    ASSERT_EQ(t.solve(x), kktfac_code::ok);
    const double cancelled = size * c.n / static_cast<double>(norm(full));
    EXPECT_LE(relative_residual(full, x, b), tolresidual * (1 + cancelled));
  }
}

// An H of 24 decades: all terms look alike beside it.
TEST(Kkt, SolvesForTheTermsThatWereGiven) {
  for (const kkt_form form : {kkt_form::adat, kkt_form::sqdt}) {
    kkt_case c;
    c.n = 2;
    c.beg = {0, 0, 0};
    c.h = {10, 1e-14};
    c.low = {3, 3, -3, 3};
    c.sigma = {1, 1};
    kktfac_params params;
    params.ktpe = form;
    params.maxlow = 2;
    solver t;
    ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
    std::vector<double> x = {1, 1};
    ASSERT_EQ(t.solve(x), kktfac_code::ok);
    EXPECT_NEAR(x[0], 1.0 / 28, 1e-12);
    EXPECT_NEAR(x[1], 1.0 / 18, 1e-12);
  }
}

// Each row twice, and one without an entry.
kkt_case doubled_case(std::mt19937_64& rng, uint64_t seed) {
  shape s;
  s.numlong = static_cast<int32_t>(seed % 3);
  s.decades = static_cast<double>(seed % 4);
  s.withd = s.slacks = false;
  const int32_t half = 15 + static_cast<int32_t>(rng() % 10);
  const kkt_case c = random_case(rng, half, 2 * half, s);
  kkt_case twice;
  twice.m = 2 * half + 1;
  for (int32_t j = 0; j < c.n; j++) {
    for (auto p = size_t(c.beg[size_t(j)]); p < size_t(c.beg[size_t(j) + 1]); p++) {
      twice.put(c.sub[p], c.val[p]);
      twice.put(half + c.sub[p], c.val[p]);
    }
    twice.end_column(c.h[size_t(j)]);
  }
  twice.d.assign(size_t(twice.m), 0.0);
  return twice;
}

void spread_over_decades(std::mt19937_64& rng, kkt_case& c) {
  for (double& h : c.h) h = std::pow(10, static_cast<double>(rng() % 41) - 20);
}

// Rows repeated or zero, rows that long columns alone meet, H over forty decades: finite, consistent systems solved.
TEST(Kkt, LeavesDependentRowsAndSolvesWhatIsConsistent) {
  int32_t taken = 0, dropped = 0, broughtin = 0;
  for (uint64_t seed = 0; seed < 300; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    kkt_case twice = doubled_case(rng, seed);
    const int32_t half = twice.m / 2;
    kktfac_params params;
    params.ktpe = static_cast<kkt_form>(rng() % 3);
    params.densecol = 1;
    params.tolkrylov = 1e-11; // what is wanted below
    solver t;
    ASSERT_EQ(t.setup(twice, params), kktfac_code::ok);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, twice.numbers()), kktfac_code::ok);
    taken += t.k.info.numtaken;
    dropped += t.k.info.numdropped;
    const dense full = matrix_of(twice);
    const std::vector<double> b = times(full, random_vector(rng, twice.n + twice.m));
    std::vector<double> v = b;
    ASSERT_EQ(t.solve(v), kktfac_code::ok);
    EXPECT_LE(relative_residual(full, v, b), 1e-11) << "form " << int(t.k.info.form);
    EXPECT_GE(t.k.info.form == kkt_form::adat ? t.k.info.zero : half, half);
    spread_over_decades(rng, twice);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, twice.numbers()), kktfac_code::ok);
    v = b;
    ASSERT_EQ(t.solve(v), kktfac_code::ok);
    EXPECT_TRUE(std::isfinite(largest(v)));
    // Where that has cost columns apart their place, the next numbers find all in order.
    broughtin += t.k.info.broughtin;
    twice.h.assign(size_t(twice.n), 1.0);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, twice.numbers()), kktfac_code::ok);
    const std::vector<double> easy = times(matrix_of(twice), random_vector(rng, twice.n + twice.m));
    v = easy;
    ASSERT_EQ(t.solve(v), kktfac_code::ok);
    EXPECT_LE(relative_residual(matrix_of(twice), v, easy), 1e-11) << "brought in " << t.k.info.broughtin;
  }
  EXPECT_GT(broughtin, 0);
  EXPECT_GT(taken, 0);
  EXPECT_GT(dropped, 1000);
}

// A row whose sparse part is empty is repaired, and the repair comes out again.
TEST(Kkt, TakesRepairsOutAgain) {
  std::mt19937_64 rng(5);
  kkt_case c;
  c.m = 60;
  for (int32_t i = 0; i < 40; i++) { // rows 40 to 59 lie in long columns only
    c.put(i, 1.0);
    c.end_column(1.0);
  }
  for (int32_t j = 0; j < 25; j++) {
    for (int32_t i = 0; i < c.m; i++) c.put(i, std::uniform_real_distribution<double>(-1, 1)(rng));
    c.end_column(0.5);
  }
  c.d.assign(60, 0.0);
  kktfac_params params;
  params.ktpe = kkt_form::adat;
  solver t;
  ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
  ASSERT_EQ(t.k.info.numdense, 25);
  ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
  EXPECT_EQ(t.k.info.numrepair, 20);
  EXPECT_EQ(t.k.info.numtaken, 20);
  EXPECT_EQ(t.k.info.numdropped, 0);
  EXPECT_FALSE(t.k.info.broughtin);
  EXPECT_EQ(t.k.info.positive, c.n);
  EXPECT_EQ(t.k.info.negative, c.m);
  const dense full = matrix_of(c);
  const std::vector<double> b = random_vector(rng, c.n + c.m);
  std::vector<double> v = b;
  ASSERT_EQ(t.solve(v), kktfac_code::ok);
  EXPECT_LE(relative_residual(full, v, b), tolresidual);
}

// More rows of their own than the Schur part may hold: as many of them are taken as columns apart make independent,
// those that do, wherever they stand.
TEST(Kkt, TakesTheRepairsThatDiffer) {
  kkt_case c;
  c.m = 20000;
  for (int32_t i = 0; i < c.m; i++) {
    if (i % 20 > 0) c.put(i, 1.0);
    c.end_column(1.0);
  }
  for (int32_t q = 0; q < 3; q++) { // the first 900 of the rows that these alone meet are the same
    for (int32_t i = 0; i < c.m; i++) c.put(i, i < 18000 ? 1 + i % 20 : 1 + (i / 20 * (q + 3)) % 7);
    c.end_column(1.0);
  }
  c.d.assign(size_t(c.m), 0.0);
  kktfac_params params;
  params.ktpe = kkt_form::adat;
  solver t;
  ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
  ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
  EXPECT_EQ(t.k.info.numrepair, 1000);
  EXPECT_EQ(t.k.info.zero, 997);
  std::mt19937_64 rng(3);
  std::vector<double> b(size_t(c.n + c.m)), v = random_vector(rng, c.n + c.m);
  for (size_t j = 0; j < size_t(c.n); j++) {
    b[j] += c.h[j] * v[j];
    for (auto p = size_t(c.beg[j]); p < size_t(c.beg[j + 1]); p++) {
      b[j] += c.val[p] * v[size_t(c.n + c.sub[p])];
      b[size_t(c.n + c.sub[p])] += c.val[p] * v[j];
    }
  }
  ASSERT_EQ(t.solve(b), kktfac_code::ok);
  EXPECT_LE(t.k.info.residual, 1e-11);
  for (size_t j = 0; j < size_t(c.n); j++) EXPECT_NEAR(b[j], v[j], 1e-8);
}

// One hard diagonal takes them into the matrix, but not for good.
TEST(Kkt, PutsLongColumnsApartAgain) {
  std::mt19937_64 rng(1);
  kkt_case c;
  c.m = 800;
  const int32_t half = 720; // the others are twice some of these
  for (int32_t j = 0; j < 1200; j++) {
    std::vector<bool> seen(size_t(c.m), false);
    for (int32_t num = j < 5 ? half * 3 / 4 : 1 + static_cast<int32_t>(rng() % 4); num > 0; num--) {
      const auto i = static_cast<int32_t>(rng() % uint64_t(half));
      if (seen[size_t(i)]) continue;
      seen[size_t(i)] = true;
      const double a = 1 + static_cast<double>(rng() % 3);
      c.put(i, a);
      if (i < c.m - half) c.put(half + i, 2 * a);
    }
    c.end_column(1.0);
  }
  c.d.assign(size_t(c.m), 0.0);
  const std::vector<double> easy = c.h;
  kktfac_params params;
  params.ktpe = kkt_form::adat;
  solver t;
  ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
  const int32_t numdense = t.k.info.numdense;
  ASSERT_EQ(numdense, 5);
  int32_t stay[2] = {0, 0};
  for (int32_t& num : stay) {
    for (int tries = 0; !t.k.info.broughtin; tries++) {
      ASSERT_LT(tries, 1000) << "the case itself";
      for (double& h : c.h) h = rng() % uint64_t(2 + tries % 6) ? 1e12 : 1e-12;
      ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
    }
    EXPECT_EQ(t.k.info.numdense, 0);
    c.h = easy;
    for (; t.k.info.broughtin && num < 1000; num++) ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
    EXPECT_EQ(t.k.info.numdense, numdense);
    std::vector<double> v(size_t(c.n + c.m), 0.0);
    std::fill(v.begin(), v.begin() + c.n, 1.0);
    ASSERT_EQ(t.solve(v), kktfac_code::ok);
    EXPECT_LE(t.k.info.residual, 1e-13);
  }
  EXPECT_LT(stay[0], 20);
  EXPECT_GT(stay[1], 2 * stay[0]); // the oftener it happens, the longer they stay
}

// Sums of a hundred thousand terms, by rows and by a column: what is told of them is true.
TEST(Kkt, TellsTheTrueResidualOfLongEquations) {
  for (const kkt_form form : {kkt_form::adat, kkt_form::sqdt}) {
    std::mt19937_64 rng(1);
    std::uniform_real_distribution<double> unit(-1, 1);
    kkt_case c;
    c.m = 100003;
    for (int32_t i = 0; i < c.m; i++) {
      c.put(i, 1.0);
      if (i > 3) c.put(i % 3, unit(rng));
      c.end_column(std::pow(10, unit(rng)));
    }
    for (int32_t i = 0; i < c.m; i++) c.put(i, unit(rng));
    c.end_column(1.0);
    c.d.assign(size_t(c.m), 1e-3);
    kktfac_params params;
    params.ktpe = form;
    solver t;
    ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
    const std::vector<double> b = random_vector(rng, c.n + c.m);
    std::vector<double> v = b;
    ASSERT_EQ(t.solve(v), kktfac_code::ok);
    std::vector<long double> r(b.begin(), b.end());
    long double term[2] = {0, 0}, worst[2] = {0, 0};
    const auto n = size_t(c.n);
    const auto subtract = [&](size_t i, long double x) {
      r[i] -= x;
      term[i >= n] = std::max({term[i >= n], std::fabs(x), std::fabs(static_cast<long double>(b[i]))});
    };
    for (size_t j = 0; j < n; j++) {
      subtract(j, static_cast<long double>(c.h[j]) * v[j]);
      for (auto p = size_t(c.beg[j]); p < size_t(c.beg[j + 1]); p++) {
        subtract(j, static_cast<long double>(c.val[p]) * v[n + size_t(c.sub[p])]);
        subtract(n + size_t(c.sub[p]), static_cast<long double>(c.val[p]) * v[j]);
      }
    }
    for (size_t i = 0; i < size_t(c.m); i++) subtract(n + i, static_cast<long double>(-c.d[i]) * v[n + i]);
    for (size_t i = 0; i < r.size(); i++) worst[i >= n] = std::max(worst[i >= n], std::fabs(r[i]));
    const auto truth = static_cast<double>(std::max(worst[0] / term[0], worst[1] / term[1]));
    EXPECT_NEAR(t.k.info.residual, truth, 5e-15);
    EXPECT_LE(truth, 1e-13);
  }
}

// Rp and Rd help the factor; the system solved is the one asked for.
TEST(Kkt, SolvesWithAndWithoutRegularisation) {
  for (uint64_t seed = 0; seed < 60; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const kkt_case c = random_case(rng, 12, 20, {});
    kkt_case regularised = c;
    std::vector<double> rp(size_t(c.n), 1e-5), rd(size_t(c.m), 1e-4);
    for (size_t j = 0; j < rp.size(); j++) regularised.h[j] += rp[j];
    for (size_t i = 0; i < rd.size(); i++) regularised.d[i] += rd[i];
    kktfac_numbers numbers = c.numbers();
    numbers.rp = rp.data();
    numbers.rd = rd.data();
    kktfac_params params;
    params.ktpe = seed % 2 ? kkt_form::adat : kkt_form::sqdt;
    params.useprecision = seed % 3 != 0;
    solver t;
    ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, numbers), kktfac_code::ok);
    const std::vector<double> b = random_vector(rng, c.n + c.m);
    std::vector<double> exact = b, near = b;
    ASSERT_EQ(t.solve(exact), kktfac_code::ok);
    ASSERT_EQ(t.solve(near, kkt_target::regularised), kktfac_code::ok);
    EXPECT_LE(relative_residual(matrix_of(c), exact, b), tolresidual);
    EXPECT_LE(relative_residual(matrix_of(regularised), near, b), tolresidual);
    EXPECT_NE(exact, near);
    // Several right sides at once: the same bits.
    std::vector<double> x(b.begin(), b.begin() + c.n), y(b.begin() + c.n, b.end());
    x.insert(x.end(), b.begin(), b.begin() + c.n);
    y.insert(y.end(), b.begin() + c.n, b.end());
    ASSERT_EQ(TVN_kktfac_solve(t.k, kkt_target::exact, 2, x.data(), y.data()), kktfac_code::ok);
    EXPECT_TRUE(std::equal(exact.begin(), exact.begin() + c.n, x.begin() + c.n));
    EXPECT_TRUE(std::equal(exact.begin() + c.n, exact.end(), y.begin() + c.m));
  }
}

// More rows than rank, D or Rd far below the rest and rows of four decades: whatever the right side, the answer is
// right; without D it is told that there is none, and what is solved next is none the worse for it.
TEST(Kkt, SolvesDependentRowsByATinyDOrTellsThatItCannot) {
  for (uint64_t seed = 0; seed < 300; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    std::uniform_real_distribution<double> unit(-1, 1);
    kkt_case c;
    c.m = 10 + static_cast<int32_t>(rng() % 30);
    const std::vector<double> size = random_vector(rng, c.m);
    for (uint64_t num = 2 + rng() % 7, j = 0; j < num; j++) {
      for (int32_t i = 0; i < c.m; i++)
        if (rng() % 2) c.put(i, std::pow(10, 2 * size[size_t(i)]) * unit(rng));
      c.end_column(std::pow(10, unit(rng)));
    }
    const std::vector<double> tiny(size_t(c.m), std::pow(10, -6 - static_cast<double>(rng() % 9)));
    const bool regularised = seed % 2 == 0;
    c.d.assign(size_t(c.m), 0.0);
    kktfac_numbers numbers = c.numbers();
    (regularised ? numbers.rd : numbers.d) = tiny.data();
    kktfac_params params;
    params.ktpe = kkt_form::sqdt;
    solver t;
    ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, numbers), kktfac_code::ok);
    const std::vector<double> b = random_vector(rng, c.n + c.m);
    std::vector<double> v = b;
    ASSERT_EQ(t.solve(v, regularised ? kkt_target::regularised : kkt_target::exact), kktfac_code::ok);
    EXPECT_LE(t.k.info.residual, params.tolkrylov);
    EXPECT_FALSE(t.k.info.inexact);
    kkt_case with = c;
    with.d = tiny;
    EXPECT_LE(relative_residual(matrix_of(with), v, b), params.tolkrylov);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
    v = b;
    ASSERT_EQ(t.solve(v), kktfac_code::ok);
    EXPECT_TRUE(t.k.info.inexact);
    v = times(matrix_of(c), random_vector(rng, c.n + c.m));
    ASSERT_EQ(t.solve(v), kktfac_code::ok);
    EXPECT_FALSE(t.k.info.inexact);
  }
}

// Each of several at once to its own end, whatever it takes.
TEST(Kkt, SolvesSeveralAtOnce) {
  for (uint64_t seed = 0; seed < 120; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const bool longer = seed % 3 == 0;
    shape s;
    s.numlong = longer ? 3 : 0;
    kkt_case c = random_case(rng, longer ? 30 : 12, 20, s);
    if (seed % 5 == 0) add_terms(rng, c);
    std::vector<double> rp(size_t(c.n), 0.0); // a column that corrections have to be combined for
    if (seed % 4 == 0) rp[rng() % 10] = 1e3;
    kktfac_numbers numbers = c.numbers();
    numbers.rp = rp.data();
    kktfac_params params;
    params.ktpe = seed % 2 ? kkt_form::adat : kkt_form::sqdt;
    params.densecol = 1;
    params.maxlow = 2;
    params.maxrhs = 1 + static_cast<int32_t>(seed % 8);
    solver t;
    ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, numbers), kktfac_code::ok);
    const int32_t num = 1 + static_cast<int32_t>(rng() % 19);
    std::vector<double> x = random_vector(rng, num * c.n), y = random_vector(rng, num * c.m);
    std::fill(x.begin(), x.begin() + c.n, 0.0);
    std::fill(y.begin(), y.begin() + c.m, 0.0);
    const std::vector<double> bx = x, by = y;
    ASSERT_EQ(TVN_kktfac_solve(t.k, kkt_target::exact, num, x.data(), y.data()), kktfac_code::ok);
    const dense full = matrix_of(c);
    for (int32_t q = 0; q < num; q++) {
      const auto of = [&](const std::vector<double>& top, const std::vector<double>& bottom) {
        std::vector<double> v(top.begin() + q * c.n, top.begin() + (q + 1) * c.n);
        v.insert(v.end(), bottom.begin() + q * c.m, bottom.begin() + (q + 1) * c.m);
        return v;
      };
      EXPECT_LE(relative_residual(full, of(x, y), of(bx, by)), seed % 4 ? tolresidual : 1e-10) << q << " of " << num;
    }
    EXPECT_EQ(t.k.info.numsolve, num);
    std::vector<double> againx = bx, againy = by;
    ASSERT_EQ(TVN_kktfac_solve(t.k, kkt_target::exact, num, againx.data(), againy.data()), kktfac_code::ok);
    EXPECT_EQ(x, againx);
    EXPECT_EQ(y, againy);
  }
}

// Factor, columns beside it, solves; both forms.
TEST(Kkt, HasTheSameBitsForAnyNumberOfThreads) {
  for (const kkt_form form : {kkt_form::adat, kkt_form::sqdt}) {
    std::mt19937_64 rng(29);
    kkt_case c;
    c.m = 1200;
    for (int32_t j = 0; j < 1500; j++) {
      const auto first = static_cast<int32_t>(rng() % 900);
      for (int32_t i = 0; i < 300; i++)
        if (rng() % 10 == 0) c.put(first + i, 1 + static_cast<double>(rng() % 64) / 64);
      c.end_column(std::pow(10, static_cast<double>(rng() % 5) - 2));
    }
    for (int32_t j = 0; j < 12; j++) {
      for (int32_t i = 0; i < c.m; i++) c.put(i, static_cast<double>(rng() % 64) / 64);
      c.end_column(1.0);
    }
    c.d.assign(size_t(c.m), 1e-3);
    c.d[5] = 0;
    std::vector<double> first;
    for (const int32_t numthr : {1, 2, 3}) {
      kktfac_params params;
      params.ktpe = form;
      params.numthr = numthr;
      params.maxrhs = 4;
      params.maxrefine = 4; // a row has no D
      solver t;
      ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
      ASSERT_EQ(t.k.factor.numthreads, numthr);
      EXPECT_EQ(t.k.info.numdense > 0, form == kkt_form::adat);
      for (int round = 0; round < 2; round++) {
        ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
        std::vector<double> x(size_t(4 * c.n)), y(size_t(4 * c.m), 1.0);
        for (size_t q = 0; q < x.size(); q++) x[q] = static_cast<double>(q % 17) - 8;
        ASSERT_EQ(TVN_kktfac_solve(t.k, kkt_target::exact, 4, x.data(), y.data()), kktfac_code::ok);
        EXPECT_LE(t.k.info.residual, 1e-13);
        x.insert(x.end(), y.begin(), y.end());
        x.insert(x.end(), t.k.factor.d.begin(), t.k.factor.d.end());
        if (first.empty()) first = x;
        EXPECT_TRUE(x == first) << numthr << " threads";
      }
    }
  }
}

// Three columns of another size than in the factor: single corrections do not converge, four together do.
TEST(Kkt, CombinesCorrectionsWhereOneAtATimeDoesNot) {
  for (uint64_t seed = 0; seed < 40; seed++) {
    SCOPED_TRACE("seed " + std::to_string(seed));
    std::mt19937_64 rng(seed);
    const kkt_case c = random_case(rng, 20, 30, {});
    std::vector<double> rp(size_t(c.n), 0.0);
    for (size_t j = 0; j < 3; j++) rp[10 * j + rng() % 10] = 1e3;
    kktfac_numbers numbers = c.numbers();
    numbers.rp = rp.data();
    kktfac_params params;
    params.ktpe = seed % 2 ? kkt_form::adat : kkt_form::sqdt;
    solver t;
    ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
    ASSERT_EQ(TVN_kktfac_numfac(t.k, numbers), kktfac_code::ok);
    const std::vector<double> b = random_vector(rng, c.n + c.m);
    std::vector<double> v = b;
    ASSERT_EQ(t.solve(v), kktfac_code::ok);
    EXPECT_LE(relative_residual(matrix_of(c), v, b), 1e-10);
    EXPECT_LE(t.k.info.numrefine, 6);
  }
}

TEST(Kkt, TakesWhateverProblemItGets) {
  kkt_case empty, norows, nocolumns, diagonal;
  norows.end_column(2.0);
  nocolumns.m = 2;
  nocolumns.d = {1.0, 0.0};
  diagonal.m = 41;
  for (int32_t i = 0; i < 41; i++) {
    diagonal.put(i, 1.0);
    diagonal.end_column(std::pow(10, i - 20));
    diagonal.d.push_back(0.0);
  }
  for (const kkt_case* c : {&empty, &norows, &nocolumns, &diagonal})
    for (const kkt_form form : {kkt_form::free, kkt_form::adat, kkt_form::sqdt}) {
      kktfac_params params;
      params.ktpe = form;
      solver t;
      ASSERT_EQ(t.setup(*c, params), kktfac_code::ok);
      ASSERT_EQ(TVN_kktfac_numfac(t.k, c->numbers()), kktfac_code::ok);
      std::vector<double> b(size_t(c->n + c->m), 1.0), v = b;
      if (c == &nocolumns) b[1] = v[1] = 0; // nothing meets this row
      ASSERT_EQ(t.solve(v), kktfac_code::ok);
      EXPECT_LE(relative_residual(matrix_of(*c), v, b), 1e-14);
    }
  // A NaN anywhere, and nothing else, fails; the next numbers are taken as if nothing had been.
  std::mt19937_64 rng(3);
  kkt_case c = random_case(rng, 30, 30, {});
  solver t;
  ASSERT_EQ(t.setup(c), kktfac_code::ok);
  for (double* p : {&c.h[3], &c.d[4], &c.val[5]}) {
    const double old = std::exchange(*p, NAN);
    EXPECT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::failed);
    *p = old;
    EXPECT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
  }
  std::vector<double> v(size_t(c.n + c.m), NAN);
  EXPECT_EQ(t.solve(v), kktfac_code::failed);
  c.h[3] = INFINITY; // x is held at 0
  ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
  v.assign(size_t(c.n + c.m), 1.0);
  ASSERT_EQ(t.solve(v), kktfac_code::ok);
  EXPECT_EQ(v[3], 0.0);
}

// Five thousand million entries of A A' are counted, not formed.
TEST(Kkt, CountsBeforeItForms) {
  kkt_case c;
  c.m = 100000;
  for (int32_t i = 0; i < c.m; i++) {
    c.put(i, 1.0);
    c.end_column(1.0);
  }
  for (int32_t i = 0; i < c.m; i++) c.put(i, 1e-3);
  c.end_column(1.0);
  c.d.assign(size_t(c.m), 0.0);
  kktfac_params params;
  params.densecol = 0;
  params.ktpe = kkt_form::adat;
  solver t;
  EXPECT_EQ(t.setup(c, params), kktfac_code::space);
  params.ktpe = kkt_form::free;
  ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
  EXPECT_EQ(t.k.info.form, kkt_form::sqdt);
  EXPECT_LT(t.k.info.nnzl, 1000000);
  params.densecol = 40;
  ASSERT_EQ(t.setup(c, params), kktfac_code::ok);
  EXPECT_EQ(t.k.info.numdense, 1);
  ASSERT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
  std::vector<double> v(size_t(c.n + c.m), 1.0);
  ASSERT_EQ(t.solve(v), kktfac_code::ok);
  EXPECT_LE(t.k.info.residual, 1e-14);
}

namespace {

struct patience {
  int64_t calls = 0, last = -1;
  static int32_t ask(void* handle, int32_t, int64_t, double) {
    auto& self = *static_cast<patience*>(handle);
    return self.calls++ == self.last;
  }
};

// All that a caller does, on any code and exception.
kktfac_code run_all(solver& t, const kkt_case& c, const kktfac_params& params) {
  kktfac_code code = t.setup(c, params);
  if (code != kktfac_code::ok) return code;
  code = TVN_kktfac_numfac(t.k, c.numbers());
  if (code != kktfac_code::ok) return code;
  std::vector<double> v(size_t(c.n + c.m), 1.0);
  return t.solve(v);
}

} // namespace

TEST(Kkt, StopsWhereverItIsToldAndStartsAnew) {
  for (const kkt_form form : {kkt_form::adat, kkt_form::sqdt, kkt_form::free}) {
    std::mt19937_64 rng(17);
    shape s;
    s.numlong = 2;
    const kkt_case c = random_case(rng, 60, 90, s);
    patience user;
    kktfac_params params;
    params.ktpe = form;
    params.progress = {&user, patience::ask};
    solver t;
    ASSERT_EQ(run_all(t, c, params), kktfac_code::ok);
    const int64_t all = user.calls;
    EXPECT_GE(all, 5);
    for (int64_t last = 0; last < all; last++) {
      user = {0, last};
      EXPECT_EQ(run_all(t, c, params), kktfac_code::stopped) << last << " of " << all;
      EXPECT_EQ(user.calls, last + 1) << "it went on after it was stopped";
    }
    user = {};
    EXPECT_EQ(run_all(t, c, params), kktfac_code::ok);
  }
}

TEST(Kkt, LosesNothingWhenMemoryEndsAndTakesNoneAfterTheAnalysis) {
  struct memory {
    int64_t requests = 0, failat = 0, living = 0;
    static void* take(void* usr, size_t size) {
      auto& self = *static_cast<memory*>(usr);
      if (++self.requests == self.failat) return nullptr;
      self.living++;
      return std::malloc(size);
    }
    static void give(void* usr, void* block) {
      static_cast<memory*>(usr)->living -= block != nullptr;
      std::free(block);
    }
  };
  // Either form, and numbers that make the factorisation set up anew.
  for (int kind = 0; kind < 3; kind++) {
    const bool anew = kind == 2;
    kktfac_params params;
    params.ktpe = kind == 1 ? kkt_form::sqdt : kkt_form::adat;
    params.maxrhs = 4;
    shape s;
    s.numlong = 3;
    kkt_case c;
    for (uint64_t seed = 0, found = 0; found == 0; seed++) {
      ASSERT_LT(seed, 300u) << "the case itself";
      std::mt19937_64 rng(seed);
      c = anew ? doubled_case(rng, seed) : random_case(rng, 50, 40, s);
      if (anew) spread_over_decades(rng, c);
      if (anew) params.densecol = 1;
      solver t;
      ASSERT_EQ(run_all(t, c, params), kktfac_code::ok);
      found = t.k.info.broughtin == anew;
    }
    bool failed = true;
    for (int64_t failat = 1; failed; failat++) {
      memory m;
      sysenv* sys = TVN_sysenv_make(0, &m, memory::take, memory::give);
      ASSERT_NE(sys, nullptr);
      {
        solver t;
        TVN_sysenv_delete(&t.sys);
        t.sys = sys;
        m.failat = m.requests + failat;
        failed = false;
        try {
          EXPECT_EQ(run_all(t, c, params), kktfac_code::ok);
        } catch (const out_of_memory&) {
          failed = true;
          EXPECT_EQ(run_all(t, c, params), kktfac_code::ok);
        }
        const int64_t requests = m.requests;
        EXPECT_EQ(TVN_kktfac_numfac(t.k, c.numbers()), kktfac_code::ok);
        std::vector<double> v(size_t(c.n + c.m), 1.0);
        EXPECT_EQ(t.solve(v), kktfac_code::ok);
        EXPECT_EQ(m.requests, requests) << "memory taken after the analysis";
      }
      EXPECT_EQ(m.living, 0);
    }
  }
}
