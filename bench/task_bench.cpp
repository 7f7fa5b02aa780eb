// Filling a task item by item: element writes in random order with the one column-wise read behind them, names put and
// looked up, columns and named cones appended one at a time, columns removed one and many at a time, capacities grown.
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

constexpr int32_t rows = 1000, collen = 5;

// A task with count columns of collen elements each, appended and put one at a time.
void append_columns(TVNtask_t task, int32_t count) {
  const double val[collen] = {1, 2, 3, 4, 5};
  int32_t sub[collen];
  for (int32_t j = 0; j < count; j++) {
    for (int32_t k = 0; k < collen; k++) sub[k] = (j * 7 + k * 199) % rows;
    TVN_append(task, TVN_ACC_VAR, 1);
    TVN_putcj(task, j, j);
    TVN_putbound(task, TVN_ACC_VAR, j, TVN_BK_LO, 0, 0);
    TVN_putavec(task, TVN_ACC_VAR, j, collen, sub, val);
  }
}

void column_append(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    {
      session s(rows, 0);
      state.ResumeTiming();
      append_columns(s.task, n);
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * n * collen);
}

// Work on a filled task that is made anew for each pass.
template <class Work> void on_filled(benchmark::State& state, Work work) {
  const auto n = static_cast<int32_t>(state.range(0));
  for (auto _ : state) {
    state.PauseTiming();
    {
      session s(rows, 0);
      append_columns(s.task, n);
      state.ResumeTiming();
      work(s.task, n);
      state.PauseTiming();
    }
    state.ResumeTiming();
  }
  state.SetItemsProcessed(state.iterations() * n);
}

void column_remove(benchmark::State& state) {
  on_filled(state, [](TVNtask_t task, int32_t n) {
    std::vector<int32_t> sub;
    for (int32_t j = 0; j < n; j += 32) sub.push_back(j);
    TVN_remove(task, TVN_ACC_VAR, static_cast<int32_t>(sub.size()), sub.data());
  });
}

void column_remove_last(benchmark::State& state) {
  on_filled(state, [](TVNtask_t task, int32_t n) {
    for (int32_t j = n - 1; j >= n / 2; j--) TVN_remove(task, TVN_ACC_VAR, 1, &j);
  });
}

void column_resize(benchmark::State& state) {
  on_filled(state, [](TVNtask_t task, int32_t n) { TVN_putmaxnumvar(task, 3 * n); });
}

void cone_append_named(benchmark::State& state) {
  const auto n = static_cast<int32_t>(state.range(0));
  const name_list list(n);
  for (auto _ : state) {
    state.PauseTiming();
    {
      session s(0, n);
      state.ResumeTiming();
      for (int32_t k = 0; k < n; k++) {
        TVN_appendcone(s.task, TVN_CT_QUAD, 0, 1, &k);
        TVN_putname(s.task, TVN_PI_CONE, k, list.names[static_cast<size_t>(k)].c_str());
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
BENCHMARK(column_append)->Arg(50000)->Arg(100000)->Arg(200000)->Arg(400000)->Unit(benchmark::kMillisecond);
BENCHMARK(column_remove)->Arg(50000)->Arg(100000)->Arg(200000)->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(column_remove_last)->Arg(50000)->Arg(100000)->Arg(200000)->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(column_resize)->Arg(50000)->Arg(100000)->Arg(200000)->Iterations(10)->Unit(benchmark::kMillisecond);
BENCHMARK(cone_append_named)->Arg(50000)->Arg(100000)->Arg(200000)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
