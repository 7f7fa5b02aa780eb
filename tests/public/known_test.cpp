// If these failed in the field: problems whose answers everybody knows would get other ones here.
//
// The files and refs.csv with their answers lie in the folder that TOVAN_DATA names; without it the tests are skipped.
#include "api/lptask.h"

#include <cmath>
#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace fs = std::filesystem;
using tvntest::lp_case;

namespace {

constexpr double tolobj = 1e-6; // relative; the references hold to about 1e-9
constexpr double tolres = 1e-6; // of the oracle, on the problem as it was read

struct reference {
  std::string family, name, status;
  int32_t rows = 0;
  double objective = NAN;
  std::string path;
};

std::vector<reference> references() {
  std::vector<reference> refs;
  const char* folder = std::getenv("TOVAN_DATA");
  if (!folder) return refs;
  std::ifstream in(fs::path(folder) / "refs.csv");
  std::string line;
  std::getline(in, line);
  while (std::getline(in, line)) {
    std::vector<std::string> field;
    std::stringstream row(line);
    for (std::string f; std::getline(row, f, ',');) field.push_back(f);
    if (field.size() < 9) continue;
    reference r;
    r.family = field[0];
    r.name = field[1];
    r.rows = std::atoi(field[2].c_str());
    r.status = field[7];
    if (!field[8].empty()) r.objective = std::strtod(field[8].c_str(), nullptr);
    r.path = (fs::path(folder) / r.family / (r.name + ".mps.gz")).string();
    if (fs::exists(r.path)) refs.push_back(r);
  }
  return refs;
}

std::vector<reference> chosen(const std::string& family, int32_t maxrows) {
  std::vector<reference> all = references(), some;
  for (const reference& r : all)
    if (r.family == family && r.rows <= maxrows) some.push_back(r);
  return some;
}

struct result {
  TVNrescodee code = TVN_RES_OK, trm = TVN_RES_OK;
  int32_t solsta = -1, prosta = -1, primal = 0, dual = 0; // statuses, iterations
  double objective = NAN;
};

// The problem as the task holds it.
lp_case fetch(TVNtask_t task) {
  lp_case p;
  int64_t nnz = 0;
  TVN_getnumcon(task, &p.m);
  TVN_getnumvar(task, &p.n);
  TVN_getnumanz64(task, &nnz);
  const auto m = static_cast<size_t>(p.m), n = static_cast<size_t>(p.n);
  p.c.resize(n);
  p.beg.resize(n + 1);
  std::vector<int64_t> end(n);
  p.sub.resize(static_cast<size_t>(nnz));
  p.val.resize(static_cast<size_t>(nnz));
  p.blc.resize(m), p.buc.resize(m), p.bkc.resize(m);
  p.blx.resize(n), p.bux.resize(n), p.bkx.resize(n);
  int64_t room = nnz;
  EXPECT_EQ(TVN_getc(task, p.c.data()), TVN_RES_OK);
  EXPECT_EQ(TVN_getcfix(task, &p.cfix), TVN_RES_OK);
  EXPECT_EQ(
      TVN_getaslice64(task, TVN_ACC_VAR, 0, p.n, nnz, &room, p.beg.data(), end.data(), p.sub.data(), p.val.data()),
      TVN_RES_OK);
  p.beg[n] = nnz;
  EXPECT_EQ(TVN_getboundslice(task, TVN_ACC_CON, 0, p.m, p.bkc.data(), p.blc.data(), p.buc.data()), TVN_RES_OK);
  EXPECT_EQ(TVN_getboundslice(task, TVN_ACC_VAR, 0, p.n, p.bkx.data(), p.blx.data(), p.bux.data()), TVN_RES_OK);
  return p;
}

// The oracle's judgement of what the solution claims; the objective is compared elsewhere.
void expect_proven(TVNtask_t task, int32_t which) {
  const lp_case p = fetch(task);
  const apitest::outcome a = apitest::stored_solution(task, which, p);
  if (a.solsta == TVN_SOL_STA_PRIM_INFEAS_CER) {
    EXPECT_LE(judge_infeasible(p, a.point), tolres);
  } else if (a.solsta == TVN_SOL_STA_DUAL_INFEAS_CER) {
    EXPECT_LE(judge_unbounded(p, a.point), tolres);
  } else if (a.solsta == TVN_SOL_STA_OPTIMAL) {
    const tvntest::verdict v = which == TVN_SOL_BAS ? judge(p, a.point) : judge_values(p, a.point);
    EXPECT_TRUE(v.primal <= tolres) << v.primal;
    EXPECT_TRUE(v.dual <= tolres) << v.dual;
    EXPECT_TRUE(v.gap <= tolres) << v.gap;
    if (which == TVN_SOL_BAS) { EXPECT_EQ(v.basics, p.m); }
  }
}

// A task of its own for each run; `prepare` sets parameters or changes the problem after it was read.
template <class Prepare> result solve(const reference& r, Prepare prepare) {
  result out;
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  EXPECT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
  EXPECT_EQ(TVN_initenv(env), TVN_RES_OK);
  EXPECT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
  out.code = TVN_readdata(task, r.path.c_str());
  if (out.code == TVN_RES_OK) out.code = prepare(task);
  if (out.code == TVN_RES_OK) out.code = TVN_optimizetrm(task, &out.trm);
  if (out.code == TVN_RES_OK) {
    int32_t interior = 0;
    TVN_solutiondef(task, TVN_SOL_ITR, &interior);
    const int32_t which = interior != 0 ? TVN_SOL_ITR : TVN_SOL_BAS;
    TVN_getsolutionstatus(task, which, &out.prosta, &out.solsta);
    TVN_getprimalobj(task, which, &out.objective);
    TVN_getintinf(task, TVN_IINF_SIM_PRIMAL_ITER, &out.primal);
    TVN_getintinf(task, TVN_IINF_SIM_DUAL_ITER, &out.dual);
    SCOPED_TRACE(r.name);
    if (int32_t sense = 0; TVN_getobjsense(task, &sense) == TVN_RES_OK && sense == TVN_OBJECTIVE_SENSE_MINIMIZE)
      expect_proven(task, which);
  }
  EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
  EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
  return out;
}

result solve(const reference& r) {
  return solve(r, [](TVNtask_t) { return TVN_RES_OK; });
}

void expect_reference(const reference& r, const result& s, double sign = 1) {
  SCOPED_TRACE(r.name);
  ASSERT_EQ(s.code, TVN_RES_OK);
  ASSERT_EQ(s.trm, TVN_RES_OK);
  if (r.status == "optimal") {
    EXPECT_EQ(s.solsta, TVN_SOL_STA_OPTIMAL);
    if (!std::isnan(r.objective)) {
      EXPECT_TRUE(std::fabs(sign * s.objective - r.objective) <= tolobj * (1 + std::fabs(r.objective)))
          << s.objective << " for " << r.objective;
    }
  } else if (r.status == "infeasible") {
    EXPECT_EQ(s.solsta, TVN_SOL_STA_PRIM_INFEAS_CER);
    EXPECT_EQ(s.prosta, TVN_PRO_STA_PRIM_INFEAS);
  } else {
    EXPECT_EQ(s.solsta, TVN_SOL_STA_DUAL_INFEAS_CER);
    EXPECT_EQ(s.prosta, TVN_PRO_STA_DUAL_INFEAS);
  }
}

TVNrescodee negate_objective(TVNtask_t task) {
  int32_t numvar = 0;
  double cfix = 0;
  TVNrescodee code = TVN_getnumvar(task, &numvar);
  std::vector<double> c(static_cast<size_t>(numvar));
  if (code == TVN_RES_OK) code = TVN_getc(task, c.data());
  if (code == TVN_RES_OK) code = TVN_getcfix(task, &cfix);
  for (int32_t j = 0; j < numvar && code == TVN_RES_OK; j++) code = TVN_putcj(task, j, -c[static_cast<size_t>(j)]);
  if (code == TVN_RES_OK) code = TVN_putcfix(task, -cfix);
  return code == TVN_RES_OK ? TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE) : code;
}

struct PublicProblems : ::testing::Test {
  void SetUp() override {
    if (references().empty()) GTEST_SKIP() << "SKIPPED: TOVAN_DATA names no folder with refs.csv";
  }
};

} // namespace

TEST_F(PublicProblems, ReachTheirKnownOptima) {
  int32_t count = 0;
  for (const reference& r : chosen("lp", 3000)) {
    for (const int32_t name : {TVN_OPTIMIZER_PRIMAL_SIMPLEX, TVN_OPTIMIZER_DUAL_SIMPLEX})
      expect_reference(r, solve(r, [name](TVNtask_t t) { return TVN_putintparam(t, TVN_IPAR_OPTIMIZER, name); }));
    count++;
  }
  EXPECT_GT(count, 40);
}

TEST_F(PublicProblems, HaveTheirKnownAnswersByTheInteriorPointInEitherForm) {
  for (const char* family : {"lp", "lp_infeasible"})
    for (const reference& r : chosen(family, 1000))
      for (const int32_t variant : {0, 1, 2, 3})
        expect_reference(r, solve(r, [variant](TVNtask_t t) {
                           TVN_putintparam(t, TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_INTPNT);
                           TVN_putintparam(t, TVN_IPAR_PRESOLVE_USE, variant % 2);
                           return TVN_putintparam(t, TVN_IPAR_INTPNT_SOLVE_FORM, variant < 2 ? 1 : 2);
                         }));
}

TEST_F(PublicProblems, WithoutASolutionAreProvenSo) {
  int32_t count = 0;
  for (const reference& r : chosen("lp_infeasible", 1 << 30)) {
    expect_reference(r, solve(r));
    count++;
  }
  EXPECT_GT(count, 10);
}

TEST_F(PublicProblems, HaveTheSameOptimumWithoutScalingAndAsAMaximisation) {
  for (const reference& r : chosen("lp", 300)) {
    expect_reference(r,
                     solve(r, [](TVNtask_t t) { return TVN_putintparam(t, TVN_IPAR_SIM_SCALING, TVN_SCALING_NONE); }));
    expect_reference(r, solve(r, negate_objective), -1);
  }
}

TEST_F(PublicProblems, TakeTheSamePathByTheFreeChoiceAndByName) {
  for (const reference& r : chosen("lp", 300)) {
    SCOPED_TRACE(r.name);
    const auto by = [](int32_t optimizer) {
      return [optimizer](TVNtask_t t) { return TVN_putintparam(t, TVN_IPAR_OPTIMIZER, optimizer); };
    };
    const result free = solve(r, by(TVN_OPTIMIZER_FREE_SIMPLEX));
    const int32_t name = free.dual > 0 ? TVN_OPTIMIZER_DUAL_SIMPLEX : TVN_OPTIMIZER_PRIMAL_SIMPLEX;
    const result named = solve(r, by(name));
    EXPECT_EQ(free.primal, named.primal);
    EXPECT_EQ(free.dual, named.dual);
    EXPECT_EQ(free.solsta, named.solsta);
    EXPECT_EQ(free.objective, named.objective);
  }
}

namespace {

// One change of a solved problem that reaches into its basis; the solution status that is left for the start behind it.
struct small_change {
  const char* what;
  int32_t solsta;
  TVNrescodee (*make)(TVNtask_t task, int32_t j, double x);
};
const small_change small_changes[] = {
    {"a cost", TVN_SOL_STA_PRIM_FEAS,
     [](TVNtask_t t, int32_t j, double) {
       double c = 0;
       const TVNrescodee code = TVN_getcslice(t, j, j + 1, &c);
       return code == TVN_RES_OK ? TVN_putcj(t, j, c + 0.125 * std::max(1.0, std::fabs(c))) : code;
     }},
    {"an element", TVN_SOL_STA_PRIM_FEAS,
     [](TVNtask_t t, int32_t j, double) {
       std::vector<int32_t> sub(100000);
       std::vector<double> val(sub.size());
       int32_t n = 0;
       const TVNrescodee code = TVN_getavec(t, TVN_ACC_VAR, j, &n, sub.data(), val.data());
       return code == TVN_RES_OK ? TVN_putaij(t, sub[0], j, 1.015625 * val[0]) : code;
     }},
    {"a bound", TVN_SOL_STA_DUAL_FEAS,
     [](TVNtask_t t, int32_t j, double x) {
       return TVN_chgbound(t, TVN_ACC_VAR, j, 0, 1, x - 0.015625 * std::fabs(x));
     }},
};

int32_t iterations(TVNtask_t task) {
  int32_t primal = 0, dual = 0;
  EXPECT_EQ(TVN_getintinf(task, TVN_IINF_SIM_PRIMAL_ITER, &primal), TVN_RES_OK);
  EXPECT_EQ(TVN_getintinf(task, TVN_IINF_SIM_DUAL_ITER, &dual), TVN_RES_OK);
  return primal + dual;
}

// Hot and cold iterations behind the change, which goes to a basic variable that is not 0.
void restart(TVNtask_t solved, const small_change& change, int32_t& hot, int32_t& cold) {
  TVNtask_t task = nullptr;
  int32_t numvar = 0, numcon = 0, solsta = -1;
  ASSERT_EQ(TVN_getnumvar(solved, &numvar), TVN_RES_OK);
  ASSERT_EQ(TVN_getnumcon(solved, &numcon), TVN_RES_OK);
  std::vector<int32_t> key(static_cast<size_t>(numvar));
  std::vector<double> x(key.size());
  ASSERT_EQ(TVN_getsolutionstatuskeyslice(solved, TVN_ACC_VAR, TVN_SOL_BAS, 0, numvar, key.data()), TVN_RES_OK);
  ASSERT_EQ(TVN_getsolutionslice(solved, TVN_SOL_BAS, TVN_SOL_ITEM_XX, 0, numvar, x.data()), TVN_RES_OK);
  size_t j = 0;
  while (j + 1 < key.size() && (key[j] != TVN_SK_BAS || std::fabs(x[j]) < 1e-3)) j++;
  for (const bool warm : {true, false}) {
    ASSERT_EQ(TVN_clonetask(solved, &task), TVN_RES_OK);
    ASSERT_EQ(TVN_putprosta(task, TVN_SOL_BAS, TVN_PRO_STA_PRIM_AND_DUAL_FEAS), TVN_RES_OK);
    ASSERT_EQ(TVN_putsolsta(task, TVN_SOL_BAS, TVN_SOL_STA_OPTIMAL), TVN_RES_OK);
    ASSERT_EQ(change.make(task, static_cast<int32_t>(j), x[j]), TVN_RES_OK);
    ASSERT_EQ(TVN_getsolutionstatus(task, TVN_SOL_BAS, nullptr, &solsta), TVN_RES_OK);
    EXPECT_EQ(solsta, change.solsta) << change.what;
    ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_SIM_HOTSTART, warm ? TVN_SIM_HOTSTART_FREE : TVN_SIM_HOTSTART_NONE),
              TVN_RES_OK);
    ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_FREE_SIMPLEX), TVN_RES_OK);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    (warm ? hot : cold) = iterations(task);
    ASSERT_EQ(TVN_deletetask(&task), TVN_RES_OK);
  }
}

} // namespace

TEST_F(PublicProblems, ChangedALittleNeedFewerIterationsFromTheOldBasis) {
  int32_t better[3] = {}, count = 0;
  for (const reference& r : chosen("lp", 300)) {
    SCOPED_TRACE(r.name);
    TVNenv_t env = nullptr;
    TVNtask_t task = nullptr;
    ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
    ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
    ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
    ASSERT_EQ(TVN_readdata(task, r.path.c_str()), TVN_RES_OK);
    ASSERT_EQ(TVN_optimize(task), TVN_RES_OK);
    if (r.status == "optimal") {
      count++;
      for (size_t k = 0; k < 3; k++) {
        int32_t hot = 0, cold = 0;
        restart(task, small_changes[k], hot, cold);
        better[k] += hot < cold;
      }
    }
    EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
  }
  EXPECT_GT(count, 20);
  for (size_t k = 0; k < 3; k++) {
    std::printf("%s: %d of %d\n", small_changes[k].what, better[k], count);
    EXPECT_GE(10 * better[k], 9 * count) << small_changes[k].what;
  }
}
