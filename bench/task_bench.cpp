// Filling a task item by item: element writes in random order with the one column-wise read behind them, and names put
// and looked up.
//
// The size doubles from case to case, so that a cost per write or per name that grows with their number shows at once.
#include "tovan.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <random>
#include <string>
#include <vector>

namespace {

constexpr int32_t side = 10000; // rows and columns of the element case

struct session {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  session(int32_t numcon, int32_t numvar) {
    TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr);
    TVN_initenv(env);
    TVN_makeemptytask(env, &task);
    TVN_append(task, TVN_ACC_CON, numcon);
    TVN_append(task, TVN_ACC_VAR, numvar);
  }
  session(const session&) = delete;
  session& operator=(const session&) = delete;
  ~session() {
    TVN_deletetask(&task);
    TVN_deleteenv(&env);
  }
};

void putaij_random(benchmark::State& state) {
  const int64_t count = state.range(0);
  std::mt19937 rng(1);
  std::vector<int32_t> i(static_cast<size_t>(count)), j(i.size());
  for (size_t k = 0; k < i.size(); k++) {
    i[k] = static_cast<int32_t>(rng() % side);
    j[k] = static_cast<int32_t>(rng() % side);
  }
  std::vector<int64_t> ptrb(side), ptre(side);
  std::vector<int32_t> sub(i.size());
  std::vector<double> val(i.size());
  for (auto _ : state) {
    state.PauseTiming();
    {
      session s(side, side);
      state.ResumeTiming();
      for (size_t k = 0; k < i.size(); k++) TVN_putaij(s.task, i[k], j[k], 1.0 + static_cast<double>(k));
      int64_t surplus = count;
      if (TVN_getaslice64(s.task, TVN_ACC_VAR, 0, side, count, &surplus, ptrb.data(), ptre.data(), sub.data(),
                          val.data()) != TVN_RES_OK)
        state.SkipWithError("cannot read the columns");
      benchmark::DoNotOptimize(val.data());
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * count);
}

struct name_list {
  std::vector<std::string> names;
  std::vector<size_t> order; // of the lookups
  explicit name_list(int64_t count) : names(static_cast<size_t>(count)), order(names.size()) {
    for (size_t k = 0; k < names.size(); k++) {
      names[k] = "flow_" + std::to_string(k * 7919 % names.size()) + "_t" + std::to_string(k);
      order[k] = k;
    }
    std::shuffle(order.begin(), order.end(), std::mt19937(2));
  }
};

void name_put(benchmark::State& state) {
  const name_list list(state.range(0));
  const auto n = static_cast<int32_t>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    {
      session s(0, n);
      state.ResumeTiming();
      for (int32_t j = 0; j < n; j++) TVN_putname(s.task, TVN_PI_VAR, j, list.names[static_cast<size_t>(j)].c_str());
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * n);
}

// The first lookup makes the map of names; it is part of the pass.
void name_lookup(benchmark::State& state) {
  const name_list list(state.range(0));
  const auto n = static_cast<int32_t>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    {
      session s(0, n);
      for (int32_t j = 0; j < n; j++) TVN_putname(s.task, TVN_PI_VAR, j, list.names[static_cast<size_t>(j)].c_str());
      state.ResumeTiming();
      for (const size_t k : list.order) {
        int32_t found = 0, index = -1;
        TVN_getnameindex(s.task, TVN_PI_VAR, list.names[k].c_str(), &found, &index);
        if (index != static_cast<int32_t>(k)) state.SkipWithError("a name is lost");
      }
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * n);
}

} // namespace

BENCHMARK(putaij_random)->Arg(50000)->Arg(100000)->Arg(200000)->Arg(400000)->Unit(benchmark::kMillisecond);
BENCHMARK(name_put)->Arg(50000)->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK(name_lookup)->Arg(50000)->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
