// Times of the factor on bases like those of linear programs: half slacks, most of the rest triangular, a small
// nucleus.
//
// Items per second are bases, solves or updates. The right-hand sides of the sparse solves are single columns (ftran)
// and unit vectors (btran), as the simplex has them.
#include "lu/lu.h"

#include <benchmark/benchmark.h>
#include <memory>
#include <random>
#include <vector>

namespace {

using namespace tvn;

struct rng {
  std::mt19937_64 gen{7};
  int32_t index(int32_t n) { return static_cast<int32_t>(gen() % static_cast<uint64_t>(n)); }
  double value() { return (gen() & 1 ? 1.0 : -1.0) * (0.5 + static_cast<double>(gen() >> 11) * 0x1p-53); }
};

struct bench_basis {
  int32_t m;
  std::vector<int32_t> beg, sub;
  std::vector<double> val;
  sysenv* sys = TVN_sysenv_make(0, nullptr, nullptr, nullptr);
  lu f;
  std::vector<int32_t> iwork;
  std::vector<double> rwork;

  static bool getcol(void* handle, int64_t space, int32_t j, int32_t& count, int32_t* isub, double* ival) {
    const auto& b = *static_cast<bench_basis*>(handle);
    const auto from = static_cast<size_t>(b.beg[static_cast<size_t>(j)]);
    const auto to = static_cast<size_t>(b.beg[static_cast<size_t>(j) + 1]);
    count = static_cast<int32_t>(to - from);
    if (space < count) return false;
    std::copy(b.sub.begin() + static_cast<long>(from), b.sub.begin() + static_cast<long>(to), isub);
    std::copy(b.val.begin() + static_cast<long>(from), b.val.begin() + static_cast<long>(to), ival);
    return true;
  }

  // slack and triangular in hundredths of the columns; the rest is nucleus. Elements reach `window` places back.
  bench_basis(int32_t m_, int32_t slack, int32_t triangular, int32_t elems) : m(m_) {
    rng r;
    std::vector<int32_t> row(static_cast<size_t>(m));
    for (int32_t k = 0; k < m; k++) row[static_cast<size_t>(k)] = k;
    std::shuffle(row.begin(), row.end(), r.gen);
    std::vector<std::vector<std::pair<int32_t, double>>> cols(static_cast<size_t>(m));
    std::vector<int32_t> place = row;
    std::shuffle(place.begin(), place.end(), r.gen);
    const int32_t numslack = m / 100 * slack, numtri = m / 100 * triangular;
    for (int32_t k = 0; k < m; k++) {
      auto& c = cols[static_cast<size_t>(place[static_cast<size_t>(k)])];
      if (k < numslack) {
        c.emplace_back(row[static_cast<size_t>(k)], -1.0);
        continue;
      }
      const bool nucleus = k >= numslack + numtri;
      c.emplace_back(row[static_cast<size_t>(k)], 4.0 * r.value());
      std::vector<int32_t> seen{k};
      for (int32_t t = 1 + r.index(2 * elems - 1); t > 0; t--) {
        const int32_t from = nucleus ? numslack + numtri : 0;
        const int32_t at = r.index(3) == 0 && nucleus ? from + r.index(m - from) : r.index(k > 0 ? k : 1);
        if (std::find(seen.begin(), seen.end(), at) != seen.end()) continue;
        seen.push_back(at);
        c.emplace_back(row[static_cast<size_t>(at)], r.value());
      }
    }
    beg.push_back(0);
    for (const auto& c : cols) {
      for (auto [i, v] : c) {
        sub.push_back(i);
        val.push_back(v);
      }
      beg.push_back(static_cast<int32_t>(sub.size()));
    }
    TVN_lu_make(*sys, m, m, f);
    TVN_lu_newasze(f, static_cast<int64_t>(sub.size()) + m, 4.0);
    int64_t isize = 0, rsize = 0;
    TVN_lu_getfactorspace(m, m, isize, rsize);
    iwork.resize(static_cast<size_t>(isize));
    rwork.resize(static_cast<size_t>(rsize));
    TVN_lu_putgeta(f, this, getcol);
    TVN_lu_puttrh(f, 1, 1 << 30);
    while (factor() != lu_code::done) TVN_lu_newwszedbg(f, TVN_lu_getwszeproposal(f));
    if (TVN_lu_getrank(f) < m) std::abort();
  }
  ~bench_basis() {
    TVN_lu_delete(f);
    TVN_sysenv_delete(&sys);
  }
  bench_basis(const bench_basis&) = delete;
  bench_basis& operator=(const bench_basis&) = delete;

  lu_code factor() {
    TVN_lu_init(f);
    return TVN_lu_factor(f, iwork, rwork);
  }
};

bench_basis& basis_of(const benchmark::State& state) {
  static std::unique_ptr<bench_basis> kept;
  static int64_t m = 0, slack = 0, tri = 0;
  if (!kept || m != state.range(0) || slack != state.range(1) || tri != state.range(2)) {
    m = state.range(0);
    slack = state.range(1);
    tri = state.range(2);
    kept = std::make_unique<bench_basis>(static_cast<int32_t>(m), static_cast<int32_t>(slack),
                                         static_cast<int32_t>(tri), 3);
  }
  return *kept;
}

void put_column(spvec& x, rng& r, int32_t m, int32_t n) {
  for (int32_t k = 0; k < n; k++)
    if (const int32_t i = r.index(m); x.val[i] == 0.0) x.push(i, r.value());
}

void Factor(benchmark::State& state) {
  bench_basis& b = basis_of(state);
  for (auto _ : state) benchmark::DoNotOptimize(b.factor());
  state.SetItemsProcessed(state.iterations());
  int64_t lnz = 0, unz = 0;
  TVN_lu_getlusze(b.f, lnz, unz);
  state.counters["nnz"] = static_cast<double>(b.sub.size());
  state.counters["lnz"] = static_cast<double>(lnz);
  state.counters["unz"] = static_cast<double>(unz);
}

void Ftran(benchmark::State& state) {
  bench_basis& b = basis_of(state);
  spvec x(*b.sys, b.m), y(*b.sys, b.m);
  rng r;
  double count = 0;
  for (auto _ : state) {
    put_column(x, r, b.m, 3);
    TVN_lu_ftranl(b.f, x);
    TVN_lu_ftranus(b.f, x, y, 1e-18, 1e-18);
    count += y.count;
    y.clear();
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["count"] = count / static_cast<double>(state.iterations());
}

void Btran(benchmark::State& state) {
  bench_basis& b = basis_of(state);
  spvec x(*b.sys, b.m), y(*b.sys, b.m);
  rng r;
  double count = 0;
  for (auto _ : state) {
    x.push(r.index(b.m), 1.0);
    TVN_lu_btrans(b.f, x, y, 0.0, 0.0);
    count += y.count;
    y.clear();
  }
  state.SetItemsProcessed(state.iterations());
  state.counters["count"] = count / static_cast<double>(state.iterations());
}

// Fifty updates after a factorisation, with the solves that a simplex iteration needs for them; reported per update.
void Update(benchmark::State& state) {
  bench_basis& b = basis_of(state);
  spvec x(*b.sys, b.m), y(*b.sys, b.m), spike(*b.sys, b.m);
  rng r;
  int64_t done = 0;
  for (auto _ : state) {
    state.PauseTiming();
    benchmark::DoNotOptimize(b.factor());
    state.ResumeTiming();
    for (int32_t k = 0; k < 50; k++) {
      put_column(x, r, b.m, 3);
      TVN_lu_ftranl(b.f, x);
      spike.copy(x);
      TVN_lu_ftranus(b.f, x, y, 1e-18, 1e-18);
      int32_t j = y.idx[0];
      for (int32_t p = 0; p < y.count; p++)
        if (std::abs(y.val[y.idx[p]]) > std::abs(y.val[j])) j = y.idx[p];
      const lu_code code = TVN_lu_supd(b.f, j, spike);
      spike.clear();
      y.clear();
      if (b.f.state != lu_factored) break;
      done += code == lu_code::done;
    }
  }
  benchmark::DoNotOptimize(b.factor());
  state.SetItemsProcessed(done);
}

void shapes(benchmark::internal::Benchmark* b) {
  b->ArgNames({"m", "slack", "tri"});
  for (const int64_t m : {1000, 10000, 100000}) {
    b->Args({m, 70, 29});
    b->Args({m, 50, 40});
  }
  b->Args({10000, 20, 50});
  b->Args({3000, 0, 0});
}

BENCHMARK(Factor)->Apply(shapes)->Unit(benchmark::kMicrosecond);
BENCHMARK(Ftran)->Apply(shapes)->Unit(benchmark::kMicrosecond);
BENCHMARK(Btran)->Apply(shapes)->Unit(benchmark::kMicrosecond);
BENCHMARK(Update)->Apply(shapes)->Unit(benchmark::kMicrosecond)->Iterations(20);

} // namespace

BENCHMARK_MAIN();
