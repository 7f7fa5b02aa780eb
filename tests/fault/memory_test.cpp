// If these failed in the field: a machine that runs out of memory would end the caller's process, or leave him a task
// that neither works nor can be deleted, or lose the memory that is left.
//
// Each script runs with an allocator that fails at its n-th request, for n = 1, 2, ... until the script passes
// untouched. A step answers TVN_RES_ERR_SPACE or passes; with one failure only, the same step passes when repeated.
#include "support/conecase.h"
#include "tovan.h"

#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <functional>
#include <gtest/gtest.h>
#include <set>
#include <unistd.h>

namespace {

struct short_memory {
  int64_t requests = 0, failat = 0; // 0: never
  bool forever = false;             // the later ones fail as well
  std::set<void*> living;

  static void* take(void* usrptr, size_t size) {
    auto& self = *static_cast<short_memory*>(usrptr);
    self.requests++;
    if (self.failat > 0 && (self.forever ? self.requests >= self.failat : self.requests == self.failat)) return nullptr;
    void* block = std::malloc(size);
    self.living.insert(block);
    return block;
  }
  static void give(void* usrptr, void* block) {
    auto& self = *static_cast<short_memory*>(usrptr);
    EXPECT_TRUE(block == nullptr || self.living.erase(block) == 1) << "a block that is not ours";
    std::free(block);
  }
};

struct handles {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr, clone = nullptr;
};
using step = std::function<TVNrescodee(handles&)>;

struct outcome {
  bool failed = false, repeated = true; // a step said TVN_RES_ERR_SPACE; its repetition passed
  int64_t requests = 0;
};

outcome run(const std::vector<step>& script, int64_t failat, bool forever, const char* dbgfile) {
  short_memory memory;
  memory.failat = failat;
  memory.forever = forever;
  outcome o;
  handles h;
  for (size_t k = 0; k <= script.size(); k++) {
    const auto act = [&] {
      if (k > 0) return script[k - 1](h);
      return TVN_makeenv(&h.env, &memory, short_memory::take, short_memory::give, dbgfile);
    };
    TVNrescodee code = act();
    if (code == TVN_RES_OK) continue;
    EXPECT_EQ(code, TVN_RES_ERR_SPACE) << "step " << k;
    o.failed = true;
    if (forever) break;
    code = act();
    EXPECT_EQ(code, TVN_RES_OK) << "repeating step " << k;
    o.repeated = o.repeated && code == TVN_RES_OK;
    if (code != TVN_RES_OK) break;
  }
  EXPECT_EQ(TVN_deletetask(&h.clone), TVN_RES_OK);
  EXPECT_EQ(TVN_deletetask(&h.task), TVN_RES_OK);
  EXPECT_EQ(TVN_deleteenv(&h.env), TVN_RES_OK);
  EXPECT_TRUE(memory.living.empty()) << memory.living.size() << " blocks are lost";
  o.requests = memory.requests;
  return o;
}

void expect_survived(const std::vector<step>& script, const char* dbgfile = nullptr) {
  for (const bool forever : {false, true}) {
    SCOPED_TRACE(forever ? "no memory from request n on" : "request n fails");
    const outcome untouched = run(script, 0, forever, dbgfile);
    ASSERT_FALSE(untouched.failed);
    ASSERT_GT(untouched.requests, 20);
    std::printf("%lld requests\n", static_cast<long long>(untouched.requests));
    for (int64_t n = 1; n <= untouched.requests && !::testing::Test::HasFailure(); n++) {
      SCOPED_TRACE("n = " + std::to_string(n));
      const outcome o = run(script, n, forever, dbgfile);
      // A request behind which there is another way (a smaller block, no message) need not fail the step.
      EXPECT_TRUE(o.failed || o.requests >= n);
    }
  }
}

TVNrescodee first_of(std::initializer_list<TVNrescodee> codes) {
  for (const TVNrescodee code : codes)
    if (code != TVN_RES_OK) return code;
  return TVN_RES_OK;
}

const step init = [](handles& h) { return TVN_initenv(h.env); };
const step make = [](handles& h) { return h.task ? TVN_RES_OK : TVN_maketask(h.env, 0, 0, &h.task); };
const step optimize = [](handles& h) { return TVN_optimize(h.task); };
const step summary = [](handles& h) { return TVN_solutionsummary(h.task, TVN_STREAM_LOG); };
TVNrescodee expect_optimum(handles& h, int32_t whichsol) {
  int32_t solsta = -1;
  const TVNrescodee code = TVN_getsolutionstatus(h.task, whichsol, nullptr, &solsta);
  return code == TVN_RES_OK && solsta != TVN_SOL_STA_OPTIMAL ? TVN_RES_ERR_INTERNAL : code;
}
const step optimal = [](handles& h) { return expect_optimum(h, TVN_SOL_BAS); };
const step interior_optimum = [](handles& h) { return expect_optimum(h, TVN_SOL_ITR); };

tvntest::lp_case& problem() {
  static tvntest::lp_case p = [] {
    tvntest::lp_case q = tvntest::optimal_case(7, 25, 40, 0.15, 0.3).p;
    q.view();
    return q;
  }();
  return p;
}

} // namespace

TEST(ShortMemory, InputSolveAndSummary) {
  expect_survived({init, make,
                   [](handles& h) {
                     auto& p = problem();
                     return TVN_inputdata64(h.task, p.m, p.n, p.m, p.n, p.c.data(), 0, p.beg.data(), p.beg.data() + 1,
                                            p.sub.data(), p.val.data(), p.bkc.data(), p.blc.data(), p.buc.data(),
                                            p.bkx.data(), p.blx.data(), p.bux.data());
                   },
                   optimize, optimal, summary});
}

TEST(ShortMemory, InteriorPointInEitherForm) {
  for (const int32_t form : {1, 2})
    expect_survived({init, make,
                     [form](handles& h) {
                       auto& p = problem();
                       return first_of(
                           {TVN_putintparam(h.task, TVN_IPAR_OPTIMIZER, TVN_OPTIMIZER_INTPNT),
                            TVN_putintparam(h.task, TVN_IPAR_INTPNT_SOLVE_FORM, form),
                            TVN_inputdata64(h.task, p.m, p.n, p.m, p.n, p.c.data(), 0, p.beg.data(), p.beg.data() + 1,
                                            p.sub.data(), p.val.data(), p.bkc.data(), p.blc.data(), p.buc.data(),
                                            p.bkx.data(), p.blx.data(), p.bux.data())});
                     },
                     optimize, interior_optimum, summary});
}

TEST(ShortMemory, ConesFormedAndLarge) {
  static tvntest::known_cones k = [] {
    tvntest::known_cones made = tvntest::optimal_cones(4, 12, 40, 14);
    made.k.view();
    return made;
  }();
  expect_survived(
      {init, make,
       [](handles& h) {
         auto& p = k.k.p;
         TVNrescodee code = TVN_inputdata64(h.task, p.m, p.n, p.m, p.n, p.c.data(), 0, p.beg.data(), p.beg.data() + 1,
                                            p.sub.data(), p.val.data(), p.bkc.data(), p.blc.data(), p.buc.data(),
                                            p.bkx.data(), p.blx.data(), p.bux.data());
         int32_t num = 0;
         if (code == TVN_RES_OK) code = TVN_getnumcone(h.task, &num);
         for (auto c = size_t(num); c < k.k.members.size() && code == TVN_RES_OK; c++)
           code = TVN_appendcone(h.task, k.k.type[c], 0, int32_t(k.k.members[c].size()), k.k.members[c].data());
         return code;
       },
       optimize, interior_optimum, summary});
}

// A ball and a slack cone of two, so that the reformulation, the loop and the polish all take memory.
TEST(ShortMemory, QuadraticRowBesideACone) {
  static const int32_t sub[] = {0, 1}, members[] = {1, 2};
  static const double two[] = {2, 2}, cost[] = {-1, -1, 0};
  expect_survived({init, make, [](handles& h) { return TVN_append(h.task, TVN_ACC_CON, 1); },
                   [](handles& h) { return TVN_append(h.task, TVN_ACC_VAR, 3); },
                   [](handles& h) {
                     TVNrescodee code = TVN_putbound(h.task, TVN_ACC_CON, 0, TVN_BK_UP, 0, 2);
                     for (int32_t j = 0; j < 3 && code == TVN_RES_OK; j++)
                       code =
                           first_of({TVN_putcj(h.task, j, cost[j]),
                                     TVN_putbound(h.task, TVN_ACC_VAR, j, j == 2 ? TVN_BK_FX : TVN_BK_FR, 0.5, 0.5)});
                     return code;
                   },
                   [](handles& h) { return TVN_putqconk(h.task, 0, 2, sub, sub, two); },
                   [](handles& h) { return TVN_appendcone(h.task, TVN_CT_QUAD, 0, 2, members); }, optimize,
                   interior_optimum, summary});
}

TEST(ShortMemory, PutByPieces) {
  const auto put = [](int32_t k) {
    return step([k](handles& h) {
      const int32_t sub[] = {k};
      const double val[] = {1};
      return first_of(
          {TVN_putname(h.task, TVN_PI_VAR, k, ("a rather long name of variable " + std::to_string(k)).c_str()),
           TVN_putavec(h.task, TVN_ACC_VAR, k, 1, sub, val), TVN_putcj(h.task, k, 1.0),
           TVN_putbound(h.task, TVN_ACC_VAR, k, TVN_BK_LO, 0, 1e30),
           TVN_putbound(h.task, TVN_ACC_CON, k, TVN_BK_LO, k, 1e30)});
    });
  };
  expect_survived({init, make, [](handles& h) { return TVN_append(h.task, TVN_ACC_CON, 3); },
                   [](handles& h) { return TVN_append(h.task, TVN_ACC_VAR, 3); }, put(0), put(1), put(2),
                   [](handles& h) {
                     const int32_t sub[] = {0, 1};
                     const double val[] = {1, 2};
                     return TVN_putqobj(h.task, 2, sub, sub, val);
                   },
                   [](handles& h) { return TVN_putqobj(h.task, 0, nullptr, nullptr, nullptr); },
                   [](handles& h) { return TVN_puttaskname(h.task, "a task with a name that is not short"); },
                   [](handles& h) { return TVN_putstrparam(h.task, TVN_SPAR_DATA_FILE_NAME, "some/where.mps"); },
                   optimize, optimal, [](handles& h) { return TVN_clonetask(h.task, &h.clone); }});
}

TEST(ShortMemory, BasisSolves) {
  expect_survived({init, make,
                   [](handles& h) {
                     auto& p = problem();
                     const TVNrescodee code =
                         TVN_inputdata64(h.task, p.m, p.n, p.m, p.n, p.c.data(), 0, p.beg.data(), p.beg.data() + 1,
                                         p.sub.data(), p.val.data(), p.bkc.data(), p.blc.data(), p.buc.data(),
                                         p.bkx.data(), p.blx.data(), p.bux.data());
                     return code ? code : TVN_makesolutionstatusunknown(h.task, TVN_SOL_BAS);
                   },
                   [](handles& h) { // the slack basis
                     const std::vector<int32_t> skc(25, TVN_SK_BAS), skx(40, TVN_SK_LOW);
                     return TVN_putsolution(h.task, TVN_SOL_BAS, skc.data(), skx.data(), nullptr, nullptr, nullptr,
                                            nullptr, nullptr, nullptr, nullptr, nullptr, nullptr);
                   },
                   [](handles& h) { return TVN_initbasissolve(h.task, nullptr); },
                   [](handles& h) {
                     int32_t num = 1, sub[25] = {3};
                     double val[25] = {0, 0, 0, 1};
                     return TVN_solvewithbasis(h.task, 1, &num, sub, val);
                   },
                   [](handles& h) { return TVN_basiscond(h.task, nullptr, nullptr); }});
}

// Everything a task can hold, its copy, its files and its end.
TEST(ShortMemory, WholeLifeOfATask) {
  const std::string stem = (std::filesystem::temp_directory_path() / ("tvn_life_" + std::to_string(getpid()))).string();
  const std::string params = stem + ".par", log = stem + ".log";
  const int32_t sub[] = {0, 1, 2};
  const double val[] = {2, 1, 3};
  const std::vector<step> life = {
      init,
      make,
      [&](handles& h) { return TVN_linkfiletotaskstream(h.task, TVN_STREAM_LOG, log.c_str(), 0); },
      [](handles& h) { return TVN_resizetask(h.task, 2, 2, 1, 8, 4); },
      [](handles& h) { return TVN_append(h.task, TVN_ACC_CON, 4); },
      [](handles& h) { return TVN_append(h.task, TVN_ACC_VAR, 6); },
      [&](handles& h) { return TVN_putavec(h.task, TVN_ACC_VAR, 0, 3, sub, val); },
      [&](handles& h) { return TVN_putavec(h.task, TVN_ACC_CON, 3, 3, sub, val); },
      [](handles& h) { return TVN_putaij(h.task, 1, 5, 4.0); },
      [](handles& h) { return TVN_putcj(h.task, 5, -1.0); },
      [](handles& h) { return TVN_putboundslice(h.task, TVN_ACC_VAR, 0, 0, nullptr, nullptr, nullptr); },
      [](handles& h) { return TVN_putname(h.task, TVN_PI_VAR, 3, "a name that fills the pool of names"); },
      [](handles& h) { return TVN_putname(h.task, TVN_PI_CON, 1, "a name that fills the pool once again"); },
      [](handles& h) {
        int32_t found = 0, index = 0;
        return TVN_getnameindex(h.task, TVN_PI_CON, "nobody", &found, &index);
      },
      [&](handles& h) { return TVN_putqobj(h.task, 3, sub, sub, val); },
      [&](handles& h) { return TVN_putqconk(h.task, 1, 3, sub, sub, val); },
      [&](handles& h) { return TVN_putvartype(h.task, 4, TVN_VAR_TYPE_INT); },
      [&](handles& h) { return TVN_putvarbranchorder(h.task, 4, 2, TVN_BRANCH_DIR_UP); },
      [&](handles& h) {
        // An append that was made before its report failed is not made again.
        int32_t numcone = 0;
        TVN_getnumcone(h.task, &numcone);
        return numcone > 0 ? TVN_RES_OK : TVN_appendcone(h.task, TVN_CT_QUAD, 0.0, 3, sub);
      },
      [](handles& h) { return TVN_putsolutioni(h.task, TVN_ACC_VAR, 0, TVN_SOL_ITR, TVN_SK_SUPBAS, 1, 0, 0, 0); },
      [](handles& h) { return TVN_putnastrparam(h.task, "TVN_SPAR_STAT_NAME", "a \"quoted\" value of 100%"); },
      [](handles& h) {
        char* copy = nullptr;
        const TVNrescodee code = TVN_getstrparamal(h.task, TVN_SPAR_STAT_NAME, 5, &copy);
        TVN_freetask(h.task, copy);
        return code;
      },
      [&](handles& h) { return TVN_writeparamfile(h.task, params.c_str()); },
      [&](handles& h) { return TVN_putstrparam(h.task, TVN_SPAR_PARAM_READ_FILE_NAME, params.c_str()); },
      [](handles& h) { return TVN_readparamfile(h.task); },
      [](handles& h) { return TVN_printparam(h.task); },
      [](handles& h) { return h.clone ? TVN_RES_OK : TVN_clonetask(h.task, &h.clone); },
      [](handles& h) { return TVN_checkdata(h.clone); },
      [](handles& h) { return TVN_setdefaults(h.clone); },
      [](handles& h) { return TVN_removecone(h.task, 0); },
      [&](handles& h) {
        int32_t numvar = 0;
        TVN_getnumvar(h.task, &numvar);
        return numvar < 6 ? TVN_RES_OK : TVN_remove(h.task, TVN_ACC_VAR, 2, sub);
      },
      [](handles& h) { return TVN_deletetaskdata(h.task); },
      [](handles& h) { return TVN_deletetask(&h.task); }};
  expect_survived(life);
  expect_survived(life, "");
  std::filesystem::remove(params);
  std::filesystem::remove(log);
}

// A reader and a writer hold tables of their own, and a task half filled.
TEST(ShortMemory, FilesOfFormulas) {
  const std::string stem = (std::filesystem::temp_directory_path() / ("tvn_form_" + std::to_string(getpid()))).string();
  const std::string lp = stem + ".lp", opf = stem + ".opf", lp2 = stem + "w.lp", opf2 = stem + "w.opf";
  std::ofstream(lp)
      << "max\n o: 3 x + \"a b\" + [ x ^ 2 - x * y ]/2\nst\n c: x + y >= 1\n r:: 1 <= y + [ y^2 ]/2 <= 3\n"
         "bounds\n x free\n new <= 4\ngeneral\n y other\nend\n";
  std::ofstream(opf)
      << "[comment] [/comment][odd][odd] [/odd][/odd][problemname]p[/problemname][objective min 'o'] 2 x + "
         "0.5 (x^2) + 4 [/objective][constraints][con c] x + y >= 1 [/con][con] y = 2 [/con]"
         "[/constraints][bounds][b] 1 <= * [/b][cone quad k] x, 'a\\'b' [/cone][/bounds][integer] y "
         "[/integer][branchpriorities][var y] 2 up [/var][/branchpriorities][vendor tovan][parameters]"
         "[p TVN_SPAR_STAT_NAME] 's' [/p][/parameters][/vendor][solutions][solution bas]"
         "[var x] sk=LOW lvl=1 [/var][con] sk=FIX lvl=2 y=1 [/con][/solution][/solutions]";
  const auto reads = [](const std::string& name) {
    return step([name](handles& h) { return TVN_readdata(h.task, name.c_str()); });
  };
  const auto writes = [](const std::string& name) {
    return step([name](handles& h) { return TVN_writedata(h.task, name.c_str()); });
  };
  const step all = [](handles& h) {
    return first_of({TVN_putintparam(h.task, TVN_IPAR_OPF_WRITE_SOLUTIONS, 1),
                     TVN_putintparam(h.task, TVN_IPAR_OPF_WRITE_PARAMETERS, 1)});
  };
  expect_survived({init, make, reads(lp), writes(lp2), writes(opf2), reads(opf), all, writes(opf2), reads(opf2)});
  for (const std::string& name : {lp, opf, lp2, opf2}) std::filesystem::remove(name);
}

// Every change that reaches stored solutions, their figures for each type of problem, and the roads without an
// optimizer.
TEST(ShortMemory, SolutionsThroughChangesAndRoads) {
  const int32_t sub[] = {0, 1, 2, 3}, key[] = {1, 1, 1, 1}, perm[] = {2, 0, 1}, b[] = {0, 1}, e[] = {1, 2};
  const double val[] = {2, 1, 3, 1}, lo[] = {0, 0}, up[] = {5, 5};
  const auto expected = [](TVNrescodee code, TVNrescodee want) { return code == want ? TVN_RES_OK : code; };
  const auto figures = [](handles& h) {
    double v = 0;
    const TVNrescodee code =
        TVN_getsolutioninf(h.task, TVN_SOL_ITR, nullptr, nullptr, &v, &v, &v, &v, &v, &v, &v, &v, &v);
    return code == TVN_RES_OK ? TVN_updatesolutioninfo(h.task, TVN_SOL_ITR) : code;
  };
  const auto road = [&](handles& h) { return expected(TVN_optimize(h.task), TVN_RES_ERR_INV_OPTIMIZER); };
  const auto once = [](int32_t count, TVNrescodee (*get)(TVNtask_t, int32_t*), auto act) {
    return step([=](handles& h) { // a call that was made before its report failed is not made again
      int32_t now = -1;
      get(h.task, &now);
      return now == count ? TVN_RES_OK : act(h);
    });
  };
  const TVN_nlgetspfunc structure = [](void*, int32_t item, int32_t* n, int32_t* at, int32_t*, int32_t*, int32_t*) {
    if (n) *n = item == 0;
    if (at) *at = 1;
    return int32_t{0};
  };
  const TVN_nlgetvafunc values = [](void*, const double* x, double, const double*, double* f, double* g, double* grad,
                                    double*) {
    *f = 0;
    g[0] = x[1] * x[1];
    grad[0] = 2 * x[1];
    return int32_t{0};
  };
  expect_survived({init,
                   make,
                   once(2, TVN_getnumcon,
                        [=](handles& h) {
                          return TVN_inputdata(h.task, 0, 0, 2, 2, val, 0, b, e, sub, val, key, lo, up, key, lo, up);
                        }),
                   [=](handles& h) {
                     for (const int32_t w : {TVN_SOL_ITR, TVN_SOL_BAS, TVN_SOL_ITG})
                       if (const TVNrescodee code =
                               TVN_putsolution(h.task, w, key, key, key, val, val, val, val, val, val, val, val))
                         return code;
                     return TVN_RES_OK;
                   },
                   once(4, TVN_getnumvar, [=](handles& h) { return TVN_append(h.task, TVN_ACC_VAR, 2); }),
                   once(3, TVN_getnumcon, [=](handles& h) { return TVN_append(h.task, TVN_ACC_CON, 1); }),
                   [=](handles& h) { return TVN_putaveclist(h.task, TVN_ACC_VAR, 2, sub + 2, b, e, sub, val); },
                   [=](handles& h) { return TVN_putaij(h.task, 2, 3, 4.0); },
                   [=](handles& h) { return TVN_putmaxnumvar(h.task, 9); },
                   [=](handles& h) { return TVN_putmaxnumcon(h.task, 8); },
                   [=](handles& h) { return TVN_permuteandremove(h.task, TVN_ACC_CON, 3, perm); },
                   figures,
                   [=](handles& h) { return TVN_putqobjij(h.task, 1, 0, 1.5); },
                   [=](handles& h) { return TVN_putqcon(h.task, 2, sub, sub, sub, val); },
                   figures,
                   [=](handles& h) { return expected(TVN_optimize(h.task), TVN_RES_ERR_OBJ_Q_NOT_PSD); },
                   [=](handles& h) { return TVN_putnlfunc(h.task, nullptr, structure, values); },
                   figures,
                   road,
                   [=](handles& h) { return expected(TVN_clonetask(h.task, &h.clone), TVN_RES_ERR_CANNOT_CLONE_NL); },
                   [=](handles& h) { return TVN_putnlfunc(h.task, nullptr, nullptr, nullptr); },
                   [=](handles& h) { return TVN_putqcon(h.task, 0, nullptr, nullptr, nullptr, nullptr); },
                   [=](handles& h) { return TVN_putqobj(h.task, 2, sub, sub, val); },
                   optimize,
                   [=](handles& h) { return TVN_putqobj(h.task, 0, nullptr, nullptr, nullptr); },
                   once(1, TVN_getnumcone, [=](handles& h) { return TVN_appendcone(h.task, TVN_CT_QUAD, 0, 3, sub); }),
                   [=](handles& h) { return TVN_putcone(h.task, 0, TVN_CT_RQUAD, 0, 4, sub); },
                   figures,
                   summary,
                   road,
                   [](handles& h) { return h.clone ? TVN_RES_OK : TVN_clonetask(h.task, &h.clone); },
                   [](handles& h) { return TVN_removeall(h.task, TVN_PI_CONE); },
                   [](handles& h) { return TVN_removeall(h.task, TVN_PI_VAR); },
                   figures,
                   [](handles& h) { return TVN_deletesolutions(h.task); },
                   [](handles& h) { return TVN_makesolution(h.task, TVN_SOL_ITG); }});
}

TEST(ShortMemory, ReadAndSolve) {
  const std::string file =
      (std::filesystem::temp_directory_path() / ("tvn_fault_" + std::to_string(getpid()) + ".mps")).string();
  std::ofstream(file) << "NAME          SMALL\nOBJSENSE\n    MAX\nROWS\n N  COST\n L  LIM1\n G  MYGE\nCOLUMNS\n"
                         "    X         COST               1.0   LIM1               1.0\n"
                         "    X         MYGE               1.0\n"
                         "    Y         COST               2.0   LIM1               1.0\n"
                         "RHS\n    RHS       LIM1               4.0   MYGE               1.0\n"
                         "RANGES\n    RNG       LIM1               2.5\n"
                         "BOUNDS\n UP BND       X                  4.0\nENDATA\n";
  const step read = [&](handles& h) { return TVN_readdata(h.task, file.c_str()); };
  const step write = [&](handles& h) { return TVN_writedata(h.task, (file + ".out").c_str()); };
  // Functions of the user run meanwhile: whatever fails, none of them counts as running afterwards.
  const step link = [](handles& h) {
    TVN_putresponsefunc(
        h.task, [](void*, TVNrescodee, const char*) { return TVNrescodee{0}; }, nullptr);
    TVN_putcallbackfunc(
        h.task, [](TVNtask_t, void*, int32_t) { return int32_t{0}; }, nullptr);
    return TVN_linkfunctotaskstream(h.task, TVN_STREAM_LOG, nullptr, [](void*, const char*) {});
  };
  expect_survived({init, make, link, read, write, optimize, optimal, summary});
  std::filesystem::remove(file + ".out");
  // With guards around the blocks the manager's own records are requests as well.
  expect_survived({init, make, read, optimize}, "");
  std::filesystem::remove(file);
}
