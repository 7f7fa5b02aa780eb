// Time to read and to write a problem file, in bytes of text per second.
//
// The file is an MPS file of about 100 MB that is made once in the temporary folder and kept there: 60000 rows, columns
// of eight coefficients with twelve digits, as modelling languages write them. The second case reads the same problem
// from a gzip file; its bytes are those of the unpacked text. The writer's cases write the problem of that file, with 8
// digits as by default and with the 17 that keep every double.
#include "tovan.h"

#include <benchmark/benchmark.h>
#include <cstdio>
#include <filesystem>
#include <string>
#include <zlib.h>

namespace fs = std::filesystem;

namespace {

constexpr int64_t wanted = 100 << 20;
constexpr int32_t numrow = 60000;

struct rng {
  uint64_t state = 12345;
  uint32_t next() { return static_cast<uint32_t>((state = state * 6364136223846793005u + 1442695040888963407u) >> 33); }
};

// Text of the whole file, piece by piece to `put`.
template <class Put> void generate(Put put) {
  char line[128];
  int64_t bytes = 0;
  const auto print = [&](const char* fmt, auto... args) {
    const int n = std::snprintf(line, sizeof line, fmt, args...);
    put(line, static_cast<size_t>(n));
    bytes += n;
  };
  rng r;
  print("NAME          BENCH\n%s", "ROWS\n N  COST\n");
  for (int32_t i = 0; i < numrow; i++) print(" %c  R%d\n", "LGE"[i % 3], i);
  print("COLUMNS%s", "\n");
  for (int32_t j = 0; bytes < wanted; j++) {
    const auto row = static_cast<int32_t>(r.next() % numrow);
    for (int32_t k = 0; k < 8; k += 2)
      print("    X%-7d  R%-7d  %12.6f   R%-7d  %12.6f\n", j, (row + k * 7919) % numrow, r.next() * 1e-6,
            (row + (k + 1) * 7919) % numrow, -1e-6 * r.next());
  }
  print("RHS%s", "\n");
  for (int32_t i = 0; i < numrow; i++) print("    RHS       R%-7d  %12.4f\n", i, r.next() * 1e-4);
  print("ENDATA%s", "\n");
}

std::string plain_file() {
  const fs::path path = fs::temp_directory_path() / "tovan_read_bench.mps";
  if (!fs::exists(path)) {
    const fs::path part = path.string() + ".part";
    std::FILE* out = std::fopen(part.c_str(), "wb");
    generate([&](const char* text, size_t n) { std::fwrite(text, 1, n, out); });
    std::fclose(out);
    fs::rename(part, path);
  }
  return path.string();
}

std::string gzip_file() {
  const fs::path path = fs::temp_directory_path() / "tovan_read_bench.mps.gz";
  if (!fs::exists(path)) {
    const fs::path part = path.string() + ".part";
    gzFile out = gzopen(part.c_str(), "wb1");
    generate([&](const char* text, size_t n) { gzwrite(out, text, static_cast<unsigned>(n)); });
    gzclose(out);
    fs::rename(part, path);
  }
  return path.string();
}

void read_file(benchmark::State& state, const std::string& file) {
  const auto bytes = static_cast<int64_t>(fs::file_size(plain_file()));
  TVNenv_t env = nullptr;
  TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr);
  TVN_initenv(env);
  for (auto _ : state) {
    TVNtask_t task = nullptr;
    TVN_makeemptytask(env, &task);
    if (TVN_readdata(task, file.c_str()) != TVN_RES_OK) state.SkipWithError("cannot read the file");
    state.PauseTiming();
    TVN_deletetask(&task);
    state.ResumeTiming();
  }
  state.SetBytesProcessed(state.iterations() * bytes);
  TVN_deleteenv(&env);
}

void write_file(benchmark::State& state, int32_t precision) {
  const fs::path path = fs::temp_directory_path() / "tovan_write_bench.mps";
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr);
  TVN_initenv(env);
  TVN_makeemptytask(env, &task);
  TVN_readdata(task, plain_file().c_str());
  TVN_putintparam(task, TVN_IPAR_WRITE_PRECISION, precision);
  for (auto _ : state)
    if (TVN_writedata(task, path.c_str()) != TVN_RES_OK) state.SkipWithError("cannot write the file");
  state.SetBytesProcessed(state.iterations() * static_cast<int64_t>(fs::file_size(path)));
  fs::remove(path);
  TVN_deletetask(&task);
  TVN_deleteenv(&env);
}

} // namespace

BENCHMARK_CAPTURE(read_file, mps, plain_file())->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(read_file, mps_gz, gzip_file())->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(write_file, digits8, 8)->Unit(benchmark::kMillisecond);
BENCHMARK_CAPTURE(write_file, digits17, 17)->Unit(benchmark::kMillisecond);
BENCHMARK_MAIN();
