// Whole solves: read is outside the clock, optimize inside.
//
// One case per file of TOVAN_DATA/lp; --benchmark_filter chooses among them, "small/" are those under 40 KB. Counters:
// iterations of the simplex, and microseconds per iteration, which tells a slower step from a longer path.
#include "tovan.h"

#include <algorithm>
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <filesystem>
#include <string>
#include <vector>

namespace fs = std::filesystem;

namespace {

constexpr uintmax_t small_file = 40 << 10;

void solve_file(benchmark::State& state, const std::string& file) {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  int32_t iterations = 0, solsta = TVN_SOL_STA_UNKNOWN;
  TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr);
  TVN_initenv(env);
  TVN_makeemptytask(env, &task);
  if (TVN_readdata(task, file.c_str()) != TVN_RES_OK) state.SkipWithError("cannot read the file");
  TVN_putintparam(task, TVN_IPAR_SIM_HOTSTART, TVN_SIM_HOTSTART_NONE);
  double seconds = 0;
  for (auto _ : state) {
    if (TVN_optimizetrm(task, nullptr) != TVN_RES_OK) state.SkipWithError("optimize failed");
    double time = 0;
    TVN_getdouinf(task, TVN_DINF_SIM_TIME, &time);
    seconds += time;
  }
  TVN_getintinf(task, TVN_IINF_SIM_PRIMAL_ITER, &iterations);
  TVN_getsolutionstatus(task, TVN_SOL_BAS, nullptr, &solsta);
  if (solsta == TVN_SOL_STA_UNKNOWN) state.SkipWithError("no status");
  const double runs = static_cast<double>(state.iterations());
  state.counters["iterations"] = iterations;
  state.counters["us/iteration"] = 1e6 * seconds / std::max(1.0, runs * iterations);
  TVN_deletetask(&task);
  TVN_deleteenv(&env);
}

} // namespace

int main(int argc, char** argv) {
  const char* data = std::getenv("TOVAN_DATA");
  const fs::path folder = fs::path(data ? data : "") / "lp";
  if (!data || !fs::is_directory(folder)) {
    std::fprintf(stderr, "TOVAN_DATA must name the folder of the public problems\n");
    return 1;
  }
  std::vector<fs::path> files(fs::directory_iterator(folder), {});
  std::sort(files.begin(), files.end());
  for (const fs::path& file : files) {
    std::string name = fs::file_size(file) < small_file ? "small/" : "large/";
    name += file.stem().stem().string();
    benchmark::RegisterBenchmark(name.c_str(), solve_file, file.string())->Unit(benchmark::kMillisecond);
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
