// The dense kernels under the symmetric factor, each beside the same operation of the BLAS and LAPACK that the machine
// has, when they are there at configuration: items are flops, so the rates compare.
#include "lalib/dfac.h"

#include <benchmark/benchmark.h>

#include <random>
#include <vector>

extern "C" {
void dgemm_(const char*, const char*, const int*, const int*, const int*, const double*, const double*, const int*,
            const double*, const int*, const double*, double*, const int*);
void dpotrf_(const char*, const int*, double*, const int*, int*);
}

namespace {

std::vector<double> random_values(int64_t n) {
  std::mt19937_64 rng(1);
  std::uniform_real_distribution<double> unit(-1, 1);
  std::vector<double> v(static_cast<size_t>(n));
  for (double& x : v) x = unit(rng);
  return v;
}

void rate(benchmark::State& state, double flops) {
  state.counters["flops"] = benchmark::Counter(flops, benchmark::Counter::kIsIterationInvariantRate);
}

void product(benchmark::State& state) {
  const auto ker = tvn::TVN_matker_make(static_cast<tvn::matker_isa>(state.range(1)));
  const int64_t n = state.range(0);
  const auto a = random_values(n * n), b = random_values(n * n);
  auto c = random_values(n * n), pack = random_values(tvn::TVN_matker_packsize(ker));
  for (auto _ : state) {
    TVN_matker_mm_cecmab(ker, {n, n, n, a.data(), n, b.data(), n, nullptr, c.data(), n, false}, pack.data());
  }
  rate(state, 2.0 * static_cast<double>(n * n * n));
}

double one(void*, int64_t, double q) { return q; }

std::vector<double> definite(int64_t n) {
  auto a = random_values(n * n);
  for (int64_t j = 0; j < n; j++) a[static_cast<size_t>(j * (n + 1))] = static_cast<double>(2 * n);
  return a;
}

void factor(benchmark::State& state) {
  const auto ker = tvn::TVN_matker_make(static_cast<tvn::matker_isa>(state.range(1)));
  const int64_t n = state.range(0);
  const auto a = definite(n);
  auto work = random_values(tvn::TVN_dfac_worksize(ker, n, n, 1)), d = random_values(n), l = a;
  const tvn::dfac_space space = TVN_dfac_space(ker, n, n, work.data());
  for (auto _ : state) {
    l = a;
    tvn::TVN_dfac_factor(ker, {n, n, l.data(), n, nullptr, d.data()}, {nullptr, one, nullptr}, space, nullptr);
  }
  rate(state, static_cast<double>(n * n * n) / 3);
}

#ifdef TVN_BENCH_BLAS
void blas_product(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const auto a = random_values(n * n), b = random_values(n * n);
  auto c = random_values(n * n);
  const double minus = -1, plus = 1;
  for (auto _ : state) dgemm_("N", "T", &n, &n, &n, &minus, a.data(), &n, b.data(), &n, &plus, c.data(), &n);
  rate(state, 2.0 * static_cast<double>(state.range(0) * n * n));
}

void blas_factor(benchmark::State& state) {
  const int n = static_cast<int>(state.range(0));
  const auto a = definite(n);
  auto l = a;
  int info = 0;
  for (auto _ : state) {
    l = a;
    dpotrf_("L", &n, l.data(), &n, &info);
  }
  rate(state, static_cast<double>(state.range(0) * n * n) / 3);
}
#endif

const std::vector<int64_t> sizes = {32, 64, 200, 500, 1000, 2000};

} // namespace

BENCHMARK(product)->ArgsProduct({sizes, {0, 1, 2}});
BENCHMARK(factor)->ArgsProduct({sizes, {0, 1, 2}});
#ifdef TVN_BENCH_BLAS
BENCHMARK(blas_product)->ArgsProduct({sizes});
BENCHMARK(blas_factor)->ArgsProduct({sizes});
#endif

BENCHMARK_MAIN();
