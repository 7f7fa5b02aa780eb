// What the memory manager costs beside plain malloc: at level 0 it should stay within a tenth of it, and its debug
// levels must stay fit for test runs.
//
// Each case keeps 256 blocks alive and replaces one of them at a time, as a solve does with its work arrays; items are
// pairs of an allocation and a release.
#include "cpub/sysenv.h"

#include <benchmark/benchmark.h>
#include <cstdlib>
#include <random>
#include <vector>

namespace {

using namespace tvn;

constexpr size_t numalive = 256;

struct request {
  size_t slot, size;
};

std::vector<request> make_requests(size_t most) {
  std::mt19937_64 gen(5);
  std::vector<request> all(4096);
  for (request& r : all) r = {gen() % numalive, 1 + gen() % most};
  return all;
}

template <class T, class G> void replace_blocks(benchmark::State& state, T take, G give) {
  const std::vector<request> requests = make_requests(static_cast<size_t>(state.range(0)));
  std::vector<void*> alive(numalive);
  for (void*& p : alive) p = take(64);
  size_t k = 0;
  for (auto _ : state) {
    const request& r = requests[k++ % requests.size()];
    give(alive[r.slot]);
    void* const fresh = take(r.size);
    benchmark::DoNotOptimize(fresh);
    alive[r.slot] = fresh;
  }
  for (void* p : alive) give(p);
  state.SetItemsProcessed(state.iterations());
}

void plain_malloc(benchmark::State& state) {
  // Through pointers, as the manager has to: the user may have given his own functions.
  void* (*volatile take)(size_t) = std::malloc;
  void (*volatile give)(void*) = std::free;
  replace_blocks(
      state, [&](size_t n) { return take(n); }, [&](void* p) { give(p); });
}

void managed(benchmark::State& state, int32_t level, bool multithread) {
  sysenv* sys = TVN_sysenv_make(level, nullptr, nullptr, nullptr, multithread);
  replace_blocks(
      state, [&](size_t n) { return TVN_sysenv_mallocdbg(*sys, n, "bench", 1); },
      [&](void* p) { TVN_sysenv_freedbg(*sys, p, "bench", 2); });
  TVN_sysenv_delete(&sys);
}

BENCHMARK(plain_malloc)->Arg(200)->Arg(8000);
BENCHMARK_CAPTURE(managed, level_0, 0, false)->Arg(200)->Arg(8000);
BENCHMARK_CAPTURE(managed, level_0_shared, 0, true)->Arg(200)->Arg(8000);
BENCHMARK_CAPTURE(managed, level_1, 1, false)->Arg(200)->Arg(8000);

} // namespace

BENCHMARK_MAIN();
