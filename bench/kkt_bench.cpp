// The systems of an interior-point method on A of each file of TOVAN_DATA/lp, with a slack for each inequality: one
// analysis, 25 factorisations (numfac=N) with random H from 1e-8 to 1e8, three solves each (rhs=N; atonce=N of them at
// a time). A line a file: what was chosen, flops, milliseconds of all, the worst residual, and the longest time without
// a question to the user, in the analysis and later. Arguments: names of files, bandM for a band of M rows, cubeS for
// the edges of a grid with S^3 nodes; form=0|1|2, densecol=N, refine=N, tolpiv=X; d=X, rd=X: D and Rd of all rows;
// late: H near 1e-6 for some columns, 1e6 for the others; rough: right sides that need not have a solution where D is
// 0.
#include "kfac/kktfac.h"
#include "lpcolumns.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <random>
#include <string>
#include <vector>

namespace {

using columns = tvnbench::lp_columns;

tvn::kkt_columns view(const columns& a) {
  return {a.m, a.n, a.beg.data(), a.beg.data() + 1, a.sub.data(), a.val.data()};
}

columns read_file(const std::string& path) {
  columns a = tvnbench::read_lp(path);
  const double minus = -1;
  for (const int32_t i : a.loose) a.add(1, &i, &minus);
  return a;
}

// A band: what takes long where the factor does not.
columns make_band(int32_t m) {
  columns a;
  a.m = m;
  std::mt19937_64 rng(1);
  for (int32_t j = 0; j < 3 * m; j++) {
    const int32_t first = std::min(j / 3, m - 40);
    const int32_t rows[] = {first, first + 1 + static_cast<int32_t>(rng() % 10),
                            first + 20 + static_cast<int32_t>(rng() % 10)};
    const double values[] = {1, -1, 2};
    a.add(3, rows, values);
  }
  return a;
}

// A A' is a grid in three dimensions, shifted.
columns make_cube(int32_t side) {
  columns a;
  a.m = side * side * side;
  const double values[] = {1, -1};
  for (int32_t i = 0; i < a.m; i++) {
    a.add(1, &i, values);
    for (const int32_t step : {1, side, side * side}) {
      const int32_t rows[] = {i - step, i};
      if (i / step % side > 0) a.add(2, rows, values);
    }
  }
  return a;
}

// The longest time in which the user is not asked.
struct patience {
  std::chrono::steady_clock::time_point last = std::chrono::steady_clock::now();
  double longest = 0;
  static int32_t ask(void* handle, int32_t, int64_t, double) {
    auto& self = *static_cast<patience*>(handle);
    const auto now = std::chrono::steady_clock::now();
    self.longest = std::max(self.longest, std::chrono::duration<double>(now - self.last).count());
    self.last = now;
    return 0;
  }
  void restart() { last = std::chrono::steady_clock::now(); }
};

struct numbers_wanted {
  bool late = false; // two kinds of columns, as at the end of a run
  double d = 0, rd = 0;
  bool rough = false; // right sides that belong to no solution known
  int numfac = 25;
};

void run(const std::string& name, const columns& a, tvn::kktfac_params params, size_t numrhs,
         const numbers_wanted& wanted) {
  patience user;
  params.progress = {&user, patience::ask};
  tvn::sysenv* sys = tvn::TVN_sysenv_make(0, nullptr, nullptr, nullptr);
  {
    tvn::kktfac k;
    TVN_kktfac_make(*sys, a.m, a.n, params, k);
    user.restart();
    const auto setup = TVN_kktfac_autosetup(k, view(a), {});
    patience::ask(&user, 0, 0, 0);
    const double gap = user.longest;
    user.longest = 0;
    double worst = 0;
    int32_t repairs = 0, drops = 0;
    std::mt19937_64 rng(1);
    std::uniform_real_distribution<double> log10h(-8, 8), unit(-1, 1);
    const std::vector<double> d(static_cast<size_t>(a.m), wanted.d), rd(d.size(), wanted.rd);
    std::vector<double> h(static_cast<size_t>(a.n)), x(numrhs * h.size()), y(numrhs * static_cast<size_t>(a.m));
    for (int t = 0; setup == tvn::kktfac_code::ok && t < wanted.numfac; t++) {
      const double small = 1.2 * a.m / a.n;
      for (double& v : h)
        v = wanted.late ? std::pow(10, (unit(rng) < 2 * small - 1 ? -6 : 6) + log10h(rng) / 4)
                        : std::pow(10, log10h(rng));
      tvn::kktfac_numbers numbers;
      numbers.h = h.data();
      numbers.d = d.data();
      numbers.rd = rd.data();
      user.restart();
      if (TVN_kktfac_numfac(k, numbers) != tvn::kktfac_code::ok) break;
      patience::ask(&user, 0, 0, 0);
      repairs = std::max(repairs, k.info.numrepair);
      drops = std::max(drops, k.info.numdropped);
      // Right sides that belong to a solution, so that dependent rows do not contradict each other.
      std::fill(y.begin(), y.end(), 0.0);
      for (size_t c = 0; c < numrhs; c++)
        for (size_t j = 0; j < h.size(); j++) {
          x[c * h.size() + j] = unit(rng);
          const double at = unit(rng);
          for (auto p = static_cast<size_t>(a.beg[j]); p < static_cast<size_t>(a.beg[j + 1]); p++)
            y[c * static_cast<size_t>(a.m) + static_cast<size_t>(a.sub[p])] += a.val[p] * at;
        }
      if (wanted.rough)
        for (double& v : y) v = unit(rng);
      user.restart();
      if (TVN_kktfac_solve(k, tvn::kkt_target::regularised, static_cast<int32_t>(numrhs), x.data(), y.data()) !=
          tvn::kktfac_code::ok)
        break;
      patience::ask(&user, 0, 0, 0);
      worst = std::max(worst, k.info.residual);
    }
    const tvn::kktfac_info& f = k.info;
    std::printf("%-10s %6d %7d %4d %5d %2d %2d%c %9lld %9lld %9.2e %9.2e %8.1f %7.1f %7.1f %8.1f %7.1f %8.1f %3lld %5d "
                "%5d %8.1e %8.2f %5.1f %5.1f\n",
                name.c_str(), a.m, a.n, static_cast<int>(setup), f.numdense, static_cast<int>(f.form), f.numtries,
                f.broughtin ? '*' : ' ', static_cast<long long>(f.nnzpattern), static_cast<long long>(f.nnzl), f.fflops,
                f.adaflops, 1e3 * f.ordertime, 1e3 * f.setuptime, 1e3 * f.formtime, 1e3 * f.factime, 1e3 * f.schurtime,
                1e3 * f.solvetime, static_cast<long long>(f.numrefine), repairs, drops, worst,
                1e3 * wanted.numfac * f.seconds, 1e3 * gap, 1e3 * user.longest);
    std::fflush(stdout);
  }
  tvn::TVN_sysenv_delete(&sys);
}

} // namespace

int main(int argc, char** argv) {
  const char* data = std::getenv("TOVAN_DATA");
  if (!data) {
    std::fprintf(stderr, "TOVAN_DATA must name the folder of the public problems\n");
    return 2;
  }
  tvn::kktfac_params params;
  std::vector<std::string> names;
  size_t numrhs = 3;
  numbers_wanted wanted;
  for (int k = 1; k < argc; k++) {
    if (std::strncmp(argv[k], "form=", 5) == 0)
      params.ktpe = static_cast<tvn::kkt_form>(std::atoi(argv[k] + 5));
    else if (std::strncmp(argv[k], "densecol=", 9) == 0)
      params.densecol = std::atoi(argv[k] + 9);
    else if (std::strncmp(argv[k], "rhs=", 4) == 0)
      numrhs = static_cast<size_t>(std::atoi(argv[k] + 4));
    else if (std::strncmp(argv[k], "atonce=", 7) == 0)
      params.maxrhs = std::atoi(argv[k] + 7);
    else if (std::strncmp(argv[k], "threads=", 8) == 0)
      params.numthr = std::atoi(argv[k] + 8);
    else if (std::strncmp(argv[k], "tolpiv=", 7) == 0)
      params.tolpiv = std::atof(argv[k] + 7);
    else if (std::strcmp(argv[k], "late") == 0)
      wanted.late = true;
    else if (std::strcmp(argv[k], "rough") == 0)
      wanted.rough = true;
    else if (std::strncmp(argv[k], "d=", 2) == 0)
      wanted.d = std::atof(argv[k] + 2);
    else if (std::strncmp(argv[k], "numfac=", 7) == 0)
      wanted.numfac = std::atoi(argv[k] + 7);
    else if (std::strncmp(argv[k], "rd=", 3) == 0)
      wanted.rd = std::atof(argv[k] + 3);
    else if (std::strncmp(argv[k], "refine=", 7) == 0)
      params.maxrefine = std::atoi(argv[k] + 7);
    else
      names.emplace_back(argv[k]);
  }
  const auto folder = std::filesystem::path(data) / "lp";
  const std::string ending = ".mps.gz";
  if (names.empty())
    for (const auto& f : std::filesystem::directory_iterator(folder)) {
      const std::string file = f.path().filename().string();
      if (file.ends_with(ending)) names.push_back(file.substr(0, file.size() - ending.size()));
    }
  std::sort(names.begin(), names.end());
  std::printf("%-10s %6s %7s %4s %5s %2s %3s %9s %9s %9s %9s %8s %7s %7s %8s %7s %8s %3s %5s %5s %8s %8s %5s %5s\n",
              "name", "m", "n", "code", "dense", "fm", "try", "nnz(AA)", "nnz(L)", "flops", "formfl", "order", "setup",
              "form", "factor", "schur", "solve", "ref", "rep", "drop", "residual", "predict", "gap", "gap");
  for (const std::string& name : names)
    run(name,
        name.starts_with("band")   ? make_band(std::atoi(name.c_str() + 4))
        : name.starts_with("cube") ? make_cube(std::atoi(name.c_str() + 4))
                                   : read_file((folder / (name + ending)).string()),
        params, numrhs, wanted);
  return 0;
}
