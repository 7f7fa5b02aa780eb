// Orders against two open ones: flops of the factor by true counts, and processor time of the ordering.
//
// Patterns: A A' of each file of TOVAN_DATA/lp, and grids in two and three dimensions. A row for each pattern with the
// flops of the peers and ours relative to the better of them, then geometric means. An argument is a part of a
// pattern's name that must be in it.
#include "lpcolumns.h"
#include "order/sorder.h"

#include <algorithm>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <ctime>
#include <filesystem>
#include <metis.h>
#include <string>
#include <suitesparse/amd.h>
#include <vector>

namespace fs = std::filesystem;

namespace {

struct pattern {
  int32_t n = 0;
  std::vector<int64_t> beg, end; // each edge at one end
  std::vector<int32_t> sub;
  std::vector<int64_t> colbeg, colend; // of A
  std::vector<int32_t> colsub;

  void close_list() {
    end.push_back(static_cast<int64_t>(sub.size()));
    beg.push_back(beg.size() == 0 ? 0 : end[end.size() - 2]);
  }
  tvn::sorder_graph view() const { return {n, beg.data(), end.data(), sub.data()}; }
  tvn::sorder_columns columns() const {
    return {static_cast<int32_t>(colbeg.size()), colbeg.data(), colend.data(), colsub.data(), nullptr, nullptr};
  }
};

// Lower triangle of A A', row by row.
void form_normal(pattern& g) {
  std::vector<std::vector<int32_t>> rows(static_cast<size_t>(g.n));
  for (size_t j = 0; j < g.colbeg.size(); j++)
    for (int64_t p = g.colbeg[j]; p < g.colend[j]; p++)
      rows[static_cast<size_t>(g.colsub[static_cast<size_t>(p)])].push_back(static_cast<int32_t>(j));
  std::vector<int32_t> seen(rows.size(), -1);
  for (int32_t i = 0; i < g.n; i++) {
    for (const int32_t j : rows[static_cast<size_t>(i)])
      for (int64_t p = g.colbeg[static_cast<size_t>(j)]; p < g.colend[static_cast<size_t>(j)]; p++) {
        const int32_t k = g.colsub[static_cast<size_t>(p)];
        if (k >= i || seen[static_cast<size_t>(k)] == i) continue;
        seen[static_cast<size_t>(k)] = i;
        g.sub.push_back(k);
      }
    g.close_list();
  }
}

pattern read_normal(const std::string& file) {
  tvnbench::lp_columns a = tvnbench::read_lp(file);
  pattern g;
  g.n = a.m;
  g.colbeg.assign(a.beg.begin(), a.beg.end() - 1);
  g.colend.assign(a.beg.begin() + 1, a.beg.end());
  g.colsub = std::move(a.sub);
  form_normal(g);
  return g;
}

pattern make_grid(int32_t nx, int32_t ny, int32_t nz) {
  pattern g;
  g.n = nx * ny * nz;
  for (int32_t i = 0; i < g.n; i++) {
    if (i % nx > 0) g.sub.push_back(i - 1);
    if (i / nx % ny > 0) g.sub.push_back(i - nx);
    if (i / nx / ny > 0) g.sub.push_back(i - nx * ny);
    g.close_list();
  }
  return g;
}

double cpu_seconds() {
  timespec t{};
  clock_gettime(CLOCK_PROCESS_CPUTIME_ID, &t);
  return static_cast<double>(t.tv_sec) + 1e-9 * static_cast<double>(t.tv_nsec);
}

struct outcome {
  double flops = 0, seconds = 0;
};

// The fastest of a few runs that together take a moment.
template <class F> outcome measure(tvn::sysenv& sys, const pattern& g, F fn) {
  outcome o;
  std::vector<int32_t> perm(static_cast<size_t>(g.n));
  double total = 0;
  for (int32_t run = 0; run < 5 && total < 0.1; run++) {
    const double start = cpu_seconds();
    fn(perm);
    const double seconds = cpu_seconds() - start;
    o.seconds = run == 0 ? seconds : std::min(o.seconds, seconds);
    total += seconds;
  }
  tvn::sorder_tree tree;
  if (TVN_sorder_analyse(sys, g.view(), perm.data(), {}, tree) != tvn::sorder_code::ok) std::exit(1);
  o.flops = tree.figures.flops;
  return o;
}

// What the peers want: both ends of each edge.
struct full_pattern {
  std::vector<int32_t> beg, sub;
  explicit full_pattern(const pattern& g) : beg(static_cast<size_t>(g.n) + 1), sub(2 * g.sub.size()) {
    for (int32_t i = 0; i < g.n; i++)
      for (int64_t p = g.beg[static_cast<size_t>(i)]; p < g.end[static_cast<size_t>(i)]; p++)
        beg[static_cast<size_t>(i)]++, beg[static_cast<size_t>(g.sub[static_cast<size_t>(p)])]++;
    for (size_t i = 1; i < beg.size(); i++) beg[i] += beg[i - 1];
    for (int32_t i = g.n - 1; i >= 0; i--)
      for (int64_t p = g.beg[static_cast<size_t>(i)]; p < g.end[static_cast<size_t>(i)]; p++) {
        const int32_t j = g.sub[static_cast<size_t>(p)];
        sub[static_cast<size_t>(--beg[static_cast<size_t>(i)])] = j;
        sub[static_cast<size_t>(--beg[static_cast<size_t>(j)])] = i;
      }
    for (int32_t i = 0; i < g.n; i++)
      std::sort(sub.begin() + beg[static_cast<size_t>(i)], sub.begin() + beg[static_cast<size_t>(i) + 1]);
  }
};

struct means {
  double flops = 0, time = 0, fill = 0, worst = 0;
  int num = 0;
};

void compare(tvn::sysenv& sys, const std::string& name, const pattern& g, means& sum) {
  full_pattern full(g);
  if (full.sub.empty()) return;
  tvn::sorder_figures figures;
  const tvn::sorder_columns a = g.columns();
  const outcome amd = measure(sys, g, [&](std::vector<int32_t>& p) {
    amd_order(g.n, full.beg.data(), full.sub.data(), p.data(), nullptr, nullptr);
  });
  const outcome metis = measure(sys, g, [&](std::vector<int32_t>& p) {
    std::vector<int32_t> inverse(p.size());
    int32_t n = g.n;
    METIS_NodeND(&n, full.beg.data(), full.sub.data(), nullptr, nullptr, p.data(), inverse.data());
  });
  const outcome amf = measure(sys, g, [&](std::vector<int32_t>& p) {
    (void)TVN_amf_sorder(sys, g.view(), a.numcol > 0 ? &a : nullptr, {}, p.data(), figures);
  });
  tvn::gp_sorder_stats stats;
  const outcome free = measure(sys, g, [&](std::vector<int32_t>& p) {
    std::vector<int32_t> inverse(p.size());
    (void)TVN_amf_gp_sorder(sys, g.view(), a.numcol > 0 ? &a : nullptr, {}, {}, p.data(), inverse.data(), stats);
  });
  const double best = std::min(amd.flops, metis.flops);
  std::printf("%-12s %7d %9zu | %9.2e %6.3f %8.4f %8.4f | %6.3f %8.4f | %6.3f %8.4f %d%s\n", name.c_str(), g.n,
              g.sub.size(), amd.flops, metis.flops / amd.flops, amd.seconds, metis.seconds, amf.flops / best,
              amf.seconds, free.flops / best, free.seconds, stats.numpasses, stats.partitioned ? " gp" : "");
  std::fflush(stdout);
  sum.fill += std::log(amf.flops / best);
  sum.flops += std::log(free.flops / best);
  sum.time += std::log(free.seconds / metis.seconds);
  sum.worst = std::max(sum.worst, free.flops / best);
  sum.num++;
}

} // namespace

int main(int argc, char** argv) {
  const char* data = std::getenv("TOVAN_DATA");
  const fs::path folder = fs::path(data ? data : "") / "lp";
  const auto wanted = [&](const std::string& name) { return argc < 2 || name.find(argv[1]) != std::string::npos; };
  tvn::sysenv* sys = tvn::TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  means lp, grids;
  std::printf("%-12s %7s %9s | %9s %6s %8s %8s | %6s %8s | %6s %8s\n", "pattern", "n", "edges", "AMD", "METIS", "s",
              "s", "fill", "s", "free", "s");
  if (data && fs::is_directory(folder)) {
    std::vector<fs::path> files(fs::directory_iterator(folder), {});
    std::sort(files.begin(), files.end());
    for (const fs::path& file : files) {
      const std::string name = file.stem().stem().string();
      if (wanted(name)) compare(*sys, name, read_normal(file.string()), lp);
    }
  }
  const int32_t sizes[][3] = {{50, 50, 1},  {200, 200, 1}, {700, 700, 1}, {300, 30, 1},
                              {12, 12, 12}, {25, 25, 25},  {45, 45, 45},  {100, 20, 5}};
  for (const auto& [nx, ny, nz] : sizes) {
    const std::string name = "grid" + std::to_string(nx) + "x" + std::to_string(ny) + "x" + std::to_string(nz);
    if (wanted(name)) compare(*sys, name, make_grid(nx, ny, nz), grids);
  }
  for (const means* m : {&lp, &grids})
    if (m->num > 0)
      std::printf("%d patterns: free flops %.3f, at worst %.3f, time %.3f; by fill alone %.3f\n", m->num,
                  std::exp(m->flops / m->num), m->worst, std::exp(m->time / m->num), std::exp(m->fill / m->num));
  tvn::TVN_sysenv_delete(&sys);
}
