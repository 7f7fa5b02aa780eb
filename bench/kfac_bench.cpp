// Factor and solve with A A' + I of each file of TOVAN_DATA/lp, and with grids, in our approximate minimum fill order,
// beside CHOLMOD with the same order, where the machine has it. One case a file and solver; counters: flops of a
// factorisation and the rate, nonzeros of the factor.
#include "kfac/sfk.h"
#include "lpcolumns.h"

#include <benchmark/benchmark.h>
#ifdef TVN_BENCH_CHOLMOD
#include <suitesparse/cholmod.h>
#endif

#include <algorithm>
#include <filesystem>
#include <map>
#include <memory>
#include <string>
#include <vector>

namespace {

struct normal_matrix { // lower triangle by columns, the diagonal in front
  int32_t n = 0;
  std::vector<int64_t> beg, end;
  std::vector<int32_t> sub;
  std::vector<double> val;
};

using columns_of_a = tvnbench::lp_columns;

columns_of_a read_file(const std::string& path) {
  const columns_of_a all = tvnbench::read_lp(path);
  columns_of_a a;
  a.m = all.m;
  for (size_t j = 0; j < static_cast<size_t>(all.n); j++) {
    const int64_t num = all.beg[j + 1] - all.beg[j];
    const auto from = static_cast<size_t>(all.beg[j]);
    if (num <= 200) a.add(static_cast<int32_t>(num), all.sub.data() + from, all.val.data() + from); // others are apart
  }
  return a;
}

normal_matrix form(const columns_of_a& a) {
  normal_matrix k;
  k.n = a.m;
  std::vector<std::map<int32_t, double>> columns(static_cast<size_t>(a.m));
  for (int32_t j = 0; j < a.n; j++)
    for (auto p = static_cast<size_t>(a.beg[size_t(j)]); p < static_cast<size_t>(a.beg[size_t(j) + 1]); p++)
      for (auto q = static_cast<size_t>(a.beg[size_t(j)]); q < static_cast<size_t>(a.beg[size_t(j) + 1]); q++)
        if (a.sub[q] >= a.sub[p]) columns[size_t(a.sub[p])][a.sub[q]] += a.val[p] * a.val[q];
  for (int32_t i = 0; i < k.n; i++) {
    columns[size_t(i)][i] += 1;
    k.beg.push_back(static_cast<int64_t>(k.sub.size()));
    for (const auto& [row, v] : columns[size_t(i)]) {
      k.sub.push_back(row);
      k.val.push_back(v);
    }
    k.end.push_back(static_cast<int64_t>(k.sub.size()));
  }
  return k;
}

// A difference operator on a square or a cube, from "grid NXxNYxNZ".
normal_matrix grid(const std::string& sides) {
  int32_t nx = 0, ny = 0, nz = 0;
  std::sscanf(sides.c_str(), "grid %dx%dx%d", &nx, &ny, &nz);
  normal_matrix k;
  k.n = nx * ny * nz;
  for (int32_t i = 0; i < k.n; i++) {
    const auto put = [&](int32_t row, double v) {
      k.sub.push_back(row);
      k.val.push_back(v);
    };
    k.beg.push_back(static_cast<int64_t>(k.sub.size()));
    put(i, 7);
    if ((i + 1) % nx > 0) put(i + 1, -1);
    if ((i / nx + 1) % ny > 0) put(i + nx, -1);
    if (i / nx / ny + 1 < nz) put(i + nx * ny, -1);
    k.end.push_back(static_cast<int64_t>(k.sub.size()));
  }
  return k;
}

normal_matrix make(const std::string& what) { return what.starts_with("grid ") ? grid(what) : form(read_file(what)); }

struct prepared {
  normal_matrix k;
  std::vector<int32_t> perm;
  tvn::sysenv* sys = tvn::TVN_sysenv_make(0, nullptr, nullptr, nullptr);
  tvn::sfk_structure structure;
  tvn::sfk_factor factor;
  explicit prepared(const std::string& path, int32_t numthreads = 1) : k(make(path)), perm(static_cast<size_t>(k.n)) {
    tvn::sorder_figures figures;
    const tvn::sorder_graph g{k.n, k.beg.data(), k.end.data(), k.sub.data()};
    (void)TVN_amf_sorder(*sys, g, nullptr, {}, perm.data(), figures);
    (void)TVN_sfk_setupL(*sys, g, perm.data(), {}, structure);
    TVN_sfk_allocLval(*sys, structure, tvn::TVN_matker_make(tvn::matker_isa::avx512), factor, numthreads);
  }
  void fill() {
    TVN_sfk_clear(factor);
    for (int32_t i = 0; i < k.n; i++) {
      factor.val[structure.diagdest[i]] += k.val[size_t(k.beg[size_t(i)])];
      for (int64_t q = k.beg[size_t(i)] + 1; q < k.end[size_t(i)]; q++)
        factor.val[structure.dest[q]] += k.val[size_t(q)];
    }
  }
  ~prepared() {
    structure = {};
    factor = {};
    tvn::TVN_sysenv_delete(&sys);
  }
};

void put_counters(benchmark::State& state, const prepared& p) {
  state.counters["rate"] = benchmark::Counter(p.structure.flops, benchmark::Counter::kIsIterationInvariantRate);
  state.counters["flops"] = p.structure.flops;
  state.counters["nnzl"] = static_cast<double>(p.structure.nnzl);
  state.counters["stored"] = static_cast<double>(p.structure.stored);
  state.counters["fronts"] = p.structure.numsn;
}

void factor(benchmark::State& state, const std::string& path, int32_t numthreads) {
  prepared p(path, numthreads);
  for (auto _ : state) {
    p.fill();
    if (TVN_ch_calfac(p.factor, {}, {}) != tvn::sfk_code::ok) state.SkipWithError("failed");
  }
  put_counters(state, p);
}

// The free order and the structure: all that comes before the first factorisation.
void analysis(benchmark::State& state, const std::string& path) {
  prepared p(path);
  const tvn::sorder_graph g{p.k.n, p.k.beg.data(), p.k.end.data(), p.k.sub.data()};
  std::vector<int32_t> invp(p.perm.size());
  tvn::gp_sorder_stats stats;
  for (auto _ : state) {
    (void)TVN_amf_gp_sorder(*p.sys, g, nullptr, {}, {}, p.perm.data(), invp.data(), stats);
    (void)TVN_sfk_setupL(*p.sys, g, p.perm.data(), {}, p.structure);
  }
  put_counters(state, p);
}

// With as many right sides at once.
void solve(benchmark::State& state, const std::string& path, int32_t num) {
  prepared p(path);
  p.fill();
  if (TVN_ch_calfac(p.factor, {}, {}) != tvn::sfk_code::ok) state.SkipWithError("failed");
  std::vector<double> rhs(p.perm.size() * static_cast<size_t>(num), 1.0),
      work(static_cast<size_t>(TVN_sfk_worksize(p.structure, num)));
  for (auto _ : state) {
    std::fill(rhs.begin(), rhs.end(), 1.0);
    if (num == 1)
      TVN_sfk_solve(p.factor, rhs.data(), work.data());
    else
      TVN_sfk_solve_X(p.factor, num, rhs.data(), work.data());
  }
  put_counters(state, p);
}

#ifdef TVN_BENCH_CHOLMOD
void cholmod(benchmark::State& state, const std::string& path) {
  prepared p(path);
  cholmod_common common;
  cholmod_start(&common);
  common.nmethods = 1;
  common.method[0].ordering = CHOLMOD_GIVEN;
  common.postorder = 1;
  cholmod_sparse* a =
      cholmod_allocate_sparse(size_t(p.k.n), size_t(p.k.n), p.k.sub.size(), 1, 1, -1, CHOLMOD_REAL, &common);
  for (int32_t i = 0; i < p.k.n; i++) static_cast<int*>(a->p)[i] = static_cast<int>(p.k.beg[size_t(i)]);
  static_cast<int*>(a->p)[p.k.n] = static_cast<int>(p.k.sub.size());
  std::copy(p.k.sub.begin(), p.k.sub.end(), static_cast<int*>(a->i));
  std::copy(p.k.val.begin(), p.k.val.end(), static_cast<double*>(a->x));
  cholmod_factor* l = cholmod_analyze_p(a, p.perm.data(), nullptr, 0, &common);
  for (auto _ : state) cholmod_factorize(a, l, &common);
  put_counters(state, p);
  cholmod_free_factor(&l, &common);
  cholmod_free_sparse(&a, &common);
  cholmod_finish(&common);
}
#endif

} // namespace

int main(int argc, char** argv) {
  const char* data = std::getenv("TOVAN_DATA");
  if (!data) {
    std::fprintf(stderr, "TOVAN_DATA must name the folder of the public problems\n");
    return 2;
  }
  std::vector<std::string> files;
  for (const auto& f : std::filesystem::directory_iterator(std::filesystem::path(data) / "lp"))
    if (f.path().string().ends_with(".mps.gz")) files.push_back(f.path().string());
  std::sort(files.begin(), files.end());
  files.insert(files.end(), {"grid 400x400x1", "grid 30x30x30", "grid 45x45x45"});
  for (const std::string& f : files) {
    std::string name = std::filesystem::path(f).filename().string();
    if (name.ends_with(".mps.gz")) name.resize(name.size() - 7);
    benchmark::RegisterBenchmark((name + "/factor").c_str(), factor, f, 1);
    benchmark::RegisterBenchmark((name + "/analysis").c_str(), analysis, f);
    benchmark::RegisterBenchmark((name + "/solve").c_str(), solve, f, 1);
    for (const int32_t num : {2, 4, 8, 16})
      benchmark::RegisterBenchmark((name + "/solve" + std::to_string(num)).c_str(), solve, f, num);
    benchmark::RegisterBenchmark((name + "/twothreads").c_str(), factor, f, 2)->UseRealTime();
#ifdef TVN_BENCH_CHOLMOD
    benchmark::RegisterBenchmark((name + "/cholmod").c_str(), cholmod, f);
#endif
  }
  benchmark::Initialize(&argc, argv);
  benchmark::RunSpecifiedBenchmarks();
  return 0;
}
