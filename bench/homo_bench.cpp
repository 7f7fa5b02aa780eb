// The interior-point loop on each file of TOVAN_DATA/FOLDER, presolved, in standard form: a line a file with the
// iterations, correctors, levels, residuals, and where the time goes. Arguments: names of files; infeasible: the other
// folder; presolve=0|1, maxcor=N, start=N, form=N, diff=0|1, scaling=0|1, log.
#include "lpcolumns.h"
#include "optimize/prepare.h"
#include "prslv/reduced.h"

#include <algorithm>
#include <chrono>
#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <string>
#include <vector>

namespace {

double seconds() { return std::chrono::duration<double>(std::chrono::steady_clock::now().time_since_epoch()).count(); }

struct problem {
  tvn::problem_view lp;
  tvnbench::lp_columns a;
  std::vector<int32_t> bkc, bkx;
  std::vector<double> c, blc, buc, blx, bux;
};

void read_file(const std::string& path, problem& p) {
  const tvnbench::lp_file file(path);
  p.a = tvnbench::columns_of(file.task);
  const auto m = static_cast<size_t>(p.a.m), n = static_cast<size_t>(p.a.n);
  for (auto* v : {&p.blc, &p.buc}) v->resize(m);
  for (auto* v : {&p.blx, &p.bux, &p.c}) v->resize(n);
  p.bkc.resize(m);
  p.bkx.resize(n);
  TVN_getboundslice(file.task, TVN_ACC_CON, 0, p.a.m, p.bkc.data(), p.blc.data(), p.buc.data());
  TVN_getboundslice(file.task, TVN_ACC_VAR, 0, p.a.n, p.bkx.data(), p.blx.data(), p.bux.data());
  TVN_getc(file.task, p.c.data());
  tvn::problem_view& v = p.lp;
  TVN_getcfix(file.task, &v.cfix);
  v.numcon = p.a.m;
  v.numvar = p.a.n;
  v.c = p.c.data();
  v.ptrb = p.a.beg.data();
  v.ptre = p.a.beg.data() + 1;
  v.sub = p.a.sub.data();
  v.val = p.a.val.data();
  v.bkc = p.bkc.data();
  v.bkx = p.bkx.data();
  v.blc = p.blc.data();
  v.buc = p.buc.data();
  v.blx = p.blx.data();
  v.bux = p.bux.data();
}

int32_t print(void* handle, tvn::hs_event event, const tvn::hs_info& i) {
  if (event == tvn::hs_event::iteration && *static_cast<bool*>(handle))
    std::printf("%4d %18.10e %18.10e %8.1e %8.1e %8.1e %8.1e %8.1e  cor %d lev %d res %.1e ref %lld\n", i.iter, i.pobj,
                i.dobj, i.kaptau, i.pfeas, i.dfeas, i.gap, i.mu, i.numcorrectors, i.level, i.fac.residual,
                static_cast<long long>(i.fac.numrefine));
  return 0;
}

struct settings {
  bool presolve = true, log = false;
  tvn::hs_param param;
};

void solve(const std::string& name, const tvn::problem_view& lp, settings set) {
  tvn::sysenv* sys = tvn::TVN_sysenv_make(0, nullptr, nullptr, nullptr);
  {
    tvn::prepared_problem s;
    TVN_opt_prepare(*sys, lp, s);
    tvn::hs_point point = s.point();
    tvn::hs_info i;
    tvn::run_watch watch;
    const double start = seconds();
    TVN_hs_optlp(*sys, s.hs, set.param, watch, {&set.log, print}, {}, point, i);
    const double all = seconds() - start;
    const tvn::kktfac_info& f = i.fac;
    std::printf(
        "%-10s %6d %7d %2d %2d %3d %3d %d %18.10e %8.1e %8.1e %8.1e %2d %3d %8.2e %8.1e %8.2f %7.2f %7.2f %7.2f "
        "%7.2f %4lld %4lld\n",
        name.c_str(), s.hs.a.numrow, s.hs.a.numcol, static_cast<int>(i.response), i.solsta, i.iter, i.numcorrectors,
        i.maxlevel, i.pobj, i.pfeas, i.dfeas, i.gap, static_cast<int>(f.form), f.numdense, f.fflops + f.adaflops,
        i.kaptau, 1e3 * all, 1e3 * (f.ordertime + f.setuptime), 1e3 * (f.formtime + f.factime + f.schurtime),
        1e3 * f.solvetime, 1e3 * (all - f.ordertime - f.setuptime - f.formtime - f.factime - f.schurtime - f.solvetime),
        static_cast<long long>(f.numsolve), static_cast<long long>(f.numrefine));
    std::fflush(stdout);
  }
  tvn::TVN_sysenv_delete(&sys);
}

void run(const std::string& name, const std::string& path, const settings& set) {
  problem p;
  read_file(path, p);
  if (!set.presolve) return solve(name, p.lp, set);
  tvn::sysenv* sys = tvn::TVN_sysenv_make(0, nullptr, nullptr, nullptr);
  {
    tvn::editable_problem e;
    TVN_prslv_copyeditable(*sys, p.lp, e);
    tvn::prslv_context* ctx = TVN_prslv_make(*sys, e.p);
    tvn::prslv_param param;
    param.cliques = true;
    tvn::prslv_stats stats;
    TVN_prslv_reduce(*ctx, param, stats, {});
    if (stats.status == tvn::prs_undecided) {
      tvn::reduced_problem r;
      TVN_prslv_copyreduced(*sys, *ctx, r);
      solve(name, r.lp, set);
    } else {
      std::printf("%-10s presolve: %d\n", name.c_str(), stats.status);
    }
    TVN_prslv_delete(ctx);
  }
  tvn::TVN_sysenv_delete(&sys);
}

bool take(const char* arg, const char* key, int& value) {
  const size_t len = std::strlen(key);
  if (std::strncmp(arg, key, len) != 0) return false;
  value = std::atoi(arg + len);
  return true;
}

} // namespace

int main(int argc, char** argv) {
  const char* data = std::getenv("TOVAN_DATA");
  if (!data) {
    std::fprintf(stderr, "TOVAN_DATA must name the folder of the public problems\n");
    return 2;
  }
  settings set;
  std::string sub = "lp";
  std::vector<std::string> names;
  for (int k = 1; k < argc; k++) {
    int v = 0;
    if (take(argv[k], "presolve=", v))
      set.presolve = v != 0;
    else if (take(argv[k], "maxcor=", v))
      set.param.maxcorrectors = v;
    else if (take(argv[k], "start=", v))
      set.param.start = static_cast<tvn::hs_startpoint>(v);
    else if (take(argv[k], "form=", v))
      set.param.form = static_cast<tvn::kkt_form>(v);
    else if (take(argv[k], "diff=", v))
      set.param.diffstep = v != 0;
    else if (take(argv[k], "scaling=", v))
      set.param.scaling = v != 0;
    else if (std::strcmp(argv[k], "log") == 0)
      set.log = true;
    else if (std::strcmp(argv[k], "infeasible") == 0)
      sub = "lp_infeasible";
    else
      names.emplace_back(argv[k]);
  }
  const auto folder = std::filesystem::path(data) / sub;
  const std::string ending = ".mps.gz";
  if (names.empty())
    for (const auto& f : std::filesystem::directory_iterator(folder)) {
      const std::string file = f.path().filename().string();
      if (file.ends_with(ending)) names.push_back(file.substr(0, file.size() - ending.size()));
    }
  std::sort(names.begin(), names.end());
  std::printf("%-10s %6s %7s %2s %2s %3s %3s %s %18s %8s %8s %8s %2s %3s %8s %8s %8s %7s %7s %7s %7s %4s %4s\n", "name",
              "m", "n", "rc", "st", "it", "cor", "l", "objective", "pfeas", "dfeas", "gap", "fm", "dns", "flops",
              "kap/tau", "ms", "analyse", "factor", "solve", "rest", "slv", "ref");
  for (const std::string& name : names) run(name, (folder / (name + ending)).string(), set);
  return 0;
}
