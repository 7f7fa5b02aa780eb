// If these failed in the field: a problem that goes through a file of formulas would come back as another one.
#include "envtask.h"
#include "support/anytask.h"

#include <filesystem>
#include <sstream>
#include <unistd.h>

using namespace apitest;
namespace fs = std::filesystem;

namespace {

struct Formula : EnvTask {
  fs::path dir = fs::temp_directory_path() / ("tvn_formula_" + std::to_string(getpid()));

  void SetUp() override {
    EnvTask::SetUp();
    fs::create_directories(dir);
  }
  void TearDown() override {
    EnvTask::TearDown();
    fs::remove_all(dir);
  }
  void renew() {
    ASSERT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
    TVN_putresponsefunc(task, respond, this);
    TVN_putintparam(task, TVN_IPAR_OPF_WRITE_HEADER, 0); // which tells the time
  }
  std::string path(const std::string& name) const { return (dir / name).string(); }
  TVNrescodee read(const std::string& text, const char* name = "f.lp") {
    std::ofstream(path(name), std::ios::binary) << text;
    reports.clear();
    return TVN_readdata(task, path(name).c_str());
  }
  std::string written(const char* name = "w.lp") {
    EXPECT_EQ(TVN_writedata(task, path(name).c_str()), TVN_RES_OK) << last_message();
    return anytask::text_of(path(name));
  }
  std::vector<int32_t> priorities() {
    std::vector<int32_t> all;
    int32_t numvar = 0, priority = 0, direction = 0;
    TVN_getnumvar(task, &numvar);
    for (int32_t j = 0; j < numvar; j++) {
      TVN_getvarbranchorder(task, j, &priority, &direction);
      all.insert(all.end(), {priority, direction});
    }
    return all;
  }
  // Through one file after the other; the problem stays, and a second file of a format is the first byte by byte.
  void expect_same_through(const std::vector<std::string>& files) {
    const picture want = look(task);
    const std::vector<int32_t> branching = priorities();
    std::map<std::string, std::string> first;
    bool lp = false;
    for (const std::string& name : files) {
      const std::string ending = name.substr(name.rfind('.')), text = written(name.c_str());
      if (first.count(ending)) { ASSERT_EQ(text, first[ending]); }
      first[ending] = text;
      renew();
      ASSERT_EQ(TVN_readdata(task, path(name).c_str()), TVN_RES_OK) << last_message() << "\n" << text;
      if (ending == ".lp") first.erase(".opf"); // the priorities are lost
      lp = lp || ending == ".lp";
      if (!lp) { ASSERT_EQ(priorities(), branching); }
      ASSERT_EQ(difference(want, look(task)), "") << text;
    }
  }
  void expect_code(const std::string& text, TVNrescodee code, const std::string& message, const char* name = "f.lp") {
    EXPECT_EQ(read(text, name), code) << text;
    EXPECT_NE(last_message().find(message), std::string::npos) << last_message() << "\n" << text;
  }
};

} // namespace

TEST_F(Formula, AnyProblemKeepsEveryBitNameAndPlace) {
  const std::vector<std::vector<std::string>> roads = {
      {"a.lp", "b.lp"}, {"a.opf", "b.opf"}, {"a.opf", "b.lp", "c.opf", "d.lp"}};
  for (uint64_t seed = 1; seed <= 2000; seed++) {
    SCOPED_TRACE(seed);
    renew();
    const bool lp = seed % 3 != 1; // without cones and double quotes
    anytask::fill(task, {.seed = seed, .cones = !lp, .forbidden = lp ? '"' : '\0'});
    expect_same_through(roads[seed % 3]);
    if (HasFatalFailure()) return;
  }
}

// ---- what a text means ----

TEST_F(Formula, QuadraticGroupsMeanWhatTheySay) {
  ASSERT_EQ(
      read(
          "min\n [ x^2 + 3 x*y ] - [ x^2 + y * x ] / 2 - x + x\nst\n c: [ 3 z * z ]/2 + [ z^2 - 2 z^2 ]/2 <= 1\nend\n"),
      TVN_RES_OK);
  EXPECT_EQ(reports.size(), 1u) << "the group without a division is told";
  EXPECT_EQ(reports[0].code, TVN_RES_WRN_LP_OLD_QUAD_FORMAT);
  picture p = look(task);
  EXPECT_EQ(p.q, (decltype(p.q){{{-1, 0, 0}, 1}, {{-1, 1, 0}, 2.5}, {{0, 2, 2}, 2}}));
  EXPECT_EQ(p.c, (std::vector<double>{0, 0, 0}));
  ASSERT_EQ(read("[objective min] 0.5 (x^2 + 3 x*y) + 2 (x ^ 2) - (y*x) + 3 - 1 [/objective]", "f.opf"), TVN_RES_OK);
  p = look(task);
  EXPECT_EQ(p.q, (decltype(p.q){{{-1, 0, 0}, 5}, {{-1, 1, 0}, 0.5}}));
  EXPECT_EQ(p.cfix, 2);
}

TEST_F(Formula, RepeatedTermsAddUpEverywhere) {
  for (const auto& [name, text] : {std::pair{"f.lp", "max x + 2 x + y st\n c: 3 x - 1 y + 2 x <= 2\nend"},
                                   {"f.opf", "[objective max] x + 2 x + y [/objective]"
                                             "[constraints][con c] 3 x - 1 y + 2 x <= 2 [/con][/constraints]"}}) {
    ASSERT_EQ(read(text, name), TVN_RES_OK);
    EXPECT_EQ(look(task).c, (std::vector<double>{3, 1}));
    EXPECT_EQ(aij(0, 0), 5);
    EXPECT_EQ(numanz(), 2);
  }
}

TEST_F(Formula, BoundsOfLinesKeepTheOtherSide) {
  ASSERT_EQ(read("min\n obj: x + y + z + u + v + w\nst\nbounds\n x <= -3\n -inf <= y\n y <= 4\n z free\n 2 = u\n"
                 " 5 >= v >= 1\n w >= 2\n w <= +Infinity\ngenerals\n z\nbinary\n u\nBounds\n z >= -1e400\nEND\n"),
            TVN_RES_OK)
      << last_message();
  const picture p = look(task);
  EXPECT_EQ(p.keys, (std::vector<int32_t>{TVN_BK_RA, TVN_BK_UP, TVN_BK_FR, TVN_BK_RA, TVN_BK_RA, TVN_BK_LO}));
  EXPECT_EQ(p.lower, (std::vector<double>{0, -1e30, -1e30, 0, 1, 2}));
  EXPECT_EQ(p.upper, (std::vector<double>{-3, 4, 1e30, 1, 5, 1e30}));
  EXPECT_EQ(p.types, (std::vector<int32_t>{0, 0, 1, 1, 0, 0}));
  // The star is for all, whenever they come; what is stated later changes its side.
  ASSERT_EQ(read("[bounds][b] x <= 5 [/b][b] -1 <= * [/b][b] y,z <= 7 [/b][/bounds]"
                 "[constraints][con] u >= 2 [/con][/constraints][bounds][b] z free [/b][/bounds]",
                 "f.opf"),
            TVN_RES_OK)
      << last_message();
  const picture q = look(task);
  EXPECT_EQ(q.keys, (std::vector<int32_t>{TVN_BK_LO, TVN_BK_RA, TVN_BK_RA, TVN_BK_FR, TVN_BK_LO}));
  EXPECT_EQ(q.lower, (std::vector<double>{2, -1, -1, -1e30, -1}));
  EXPECT_EQ(q.upper, (std::vector<double>{1e30, 5, 7, 1e30, 1e30}));
}

TEST_F(Formula, KeywordsInQuotesAreNames) {
  ASSERT_EQ(read("min \"max\": \"st\" + \"end\" + subject + /x\nsubject to\n \"free\": \"inf\" - \"a b\" >= 2\nend"),
            TVN_RES_OK)
      << last_message();
  EXPECT_EQ(look(task).names, (std::vector<std::string>{"max", "free", "st", "end", "subject", "/x", "inf", "a b"}));
  const std::string text = written();
  EXPECT_NE(text.find("\"subject\" + \"/x\""), std::string::npos) << text;
  ASSERT_EQ(read(text), TVN_RES_OK);
  EXPECT_EQ(written("again.lp"), text);
}

TEST_F(Formula, TheConstantComesBackOnlyFromOurOwnFiles) {
  ASSERT_EQ(read("min x st\n c: x >= 1\nend"), TVN_RES_OK);
  TVN_putcfix(task, 7);
  const std::string text = written();
  EXPECT_NE(text.find("+ CFIX\n"), std::string::npos) << text;
  ASSERT_EQ(read(text), TVN_RES_OK);
  EXPECT_EQ(look(task).cfix, 7);
  TVN_putcfix(task, -1e30); // which bounds take for infinite
  ASSERT_EQ(read(written()), TVN_RES_OK);
  EXPECT_EQ(look(task).cfix, -1e30);
  ASSERT_EQ(read("\\ somebody else's\n" + text), TVN_RES_OK);
  EXPECT_EQ(look(task).numvar, 2);
  EXPECT_EQ(look(task).cfix, 0);
}

TEST_F(Formula, LinesEndBeforeTheirWidth) {
  anytask::fill(task, {.seed = 11, .forbidden = '"'});
  for (const int32_t width : {40, 80}) {
    TVN_putintparam(task, TVN_IPAR_WRITE_LP_LINE_WIDTH, width);
    TVN_putintparam(task, TVN_IPAR_WRITE_GENERIC_NAMES, 1);
    std::istringstream lines(written());
    for (std::string line; std::getline(lines, line);) EXPECT_LE(line.size(), static_cast<size_t>(width)) << line;
  }
}

TEST_F(Formula, WhatAFormatCannotHoldIsRefusedOrCounted) {
  append(1, 3);
  for (int32_t j = 0; j < 3; j++) TVN_putname(task, TVN_PI_VAR, j, ("x" + std::to_string(j)).c_str());
  const auto writes = [&](const char* name) { return TVN_writedata(task, path(name).c_str()); };
  TVN_putintparam(task, TVN_IPAR_WRITE_LP_STRICT_FORMAT, 1);
  EXPECT_EQ(writes("w.lp"), TVN_RES_ERR_WRITE_LP_FORMAT) << "the row is free";
  TVN_putintparam(task, TVN_IPAR_WRITE_LP_STRICT_FORMAT, 0);
  const int32_t members[] = {0, 1, 2};
  TVN_appendcone(task, TVN_CT_QUAD, 0.0, 3, members);
  TVN_putname(task, TVN_PI_CONE, 0, "k");
  EXPECT_EQ(writes("w.lp"), TVN_RES_ERR_LP_WRITE_CONIC_PROBLEM);
  EXPECT_FALSE(fs::exists(path("w.lp"))) << "no file is touched";
  EXPECT_EQ(writes("w.opf"), TVN_RES_OK);
  std::string warned;
  TVN_linkfunctotaskstream(task, TVN_STREAM_WRN, &warned,
                           [](void* handle, const char* text) { *static_cast<std::string*>(handle) += text; });
  TVN_putintparam(task, TVN_IPAR_LP_WRITE_IGNORE_INCOMPATIBLE_ITEMS, 1);
  EXPECT_EQ(writes("w.lp"), TVN_RES_OK);
  EXPECT_NE(warned.find("1 cones"), std::string::npos) << warned;
  TVN_putname(task, TVN_PI_VAR, 0, "a\"b");
  EXPECT_EQ(writes("w.lp"), TVN_RES_ERR_LP_INVALID_VAR_NAME);
  EXPECT_EQ(writes("w.opf"), TVN_RES_OK);
  renew();
  EXPECT_EQ(writes("w.lp"), TVN_RES_ERR_LP_EMPTY);
}

// ---- what is refused ----

TEST_F(Formula, OtherDialectsAreRefusedAtTheirPlace) {
  const std::pair<const char*, const char*> faults[] = {
      {"", "(1:1)"},
      {"maximise x", "(1:1)"},
      {"min: x\nst\n x >= 1\nend", "(1:4)"},
      {"min x + 7\nst\n c: x >= 1\nend", "(2:1)"},
      {"min 3\nend", "(2:1)"},
      {"min x y\nend", "(1:7)"},
      {"min 2 3 x\nend", "(1:7)"},
      {"min x * y\nend", "(1:7)"},
      {"min x^2\nend", "(1:6)"},
      {"min [ x^3 ]/2\nend", "(1:9)"},
      {"min [ x^2 ]/4\nend", "(1:13)"},
      {"min 2 [ x^2 ]/2\nend", "(1:7)"},
      {"min [ x ]/2\nend", "(1:9)"},
      {"min x ++ y\nend", "(1:8)"},
      {"min inf x\nend", "(1:5)"},
      {"min 1e999 x\nend", "(1:5)"},
      {"min 2e x\nend", "(1:5)"},
      {"min x\nst\n c: x + y\nend", "(4:1)"},
      {"min x\nst\n c: x >= y\nend", "(3:10)"},
      {"min x\nst\n x >= 2 y\n - z >= 1\nend", "(3:9)"},
      {"min x\nst\n 1 <= x >= 2\nend", "(4:1)"},
      {"min x\nst\n 1 <= x <= 2 <= 3\nend", "(3:14)"},
      {"min x\nst\n c: x + 3 >= 1\nend", "(3:11)"},
      {"min x\nst\n c: x >= inf\nend", "(4:1)"},
      {"min x\nst\n c: x <= -infinity\nend", "(4:1)"},
      {"min x\nst\n c: : x <= 1\nend", "(3:5)"},
      {"min x\nst\n free: x <= 1\nend", "(3:2)"},
      {"min x\nst\n r:: x <= 1\nend", "(3:6)"},
      {"min x\nst\n c: x <= 1\n end: x >= 2\n d: x >= 3\nend", "(4:5)"},
      {"min x\nst\n c: b = 1 -> x <= 3\nend", "(3:11)"},
      {"min x\nst\n c: x > = 3\nend", "(3:9)"},
      {"min x\nsuch that\n x >= 1\nend", "(2:1)"},
      {"min x\nst\nlazy constraints\n x >= 1\nend", "(3:6)"},
      {"min x\nst\n c: x >= 1\nbounds\n 2 x <= 5\nend", "(5:4)"},
      {"min x\nbounds\n x <= 4 y <= 5\nend", "(3:9)"},
      {"min x\nbounds\n x\nend", "(4:1)"},
      {"min x\nbounds\n x >= 1 >= 0\nend", "(3:9)"},
      {"min x\nsemi-continuous\n x\nend", "(2:1)"},
      {"min x\nbounds\n x <= 4\nsemi-continuous\n x\nend", "(4:5)"},
      {"min x\nsos1\n s: x:1 y:2\nend", "(2:1)"},
      {"min x\ngeneral\n x\nsos\n s1: x:1 y:2\nend", "(5:2)"},
      {"min x\ngeneral\n x 3\nend", "(3:4)"},
      {"min \"x\nend", "(1:5)"},
      {"min x\r\rst\r c: x >= y\rend", "(4:10)"},
      {"min \\ comment\n x;y = 3\nend", "(2:6)"},
  };
  for (const auto& [text, place] : faults) expect_code(text, TVN_RES_ERR_LP_FILE_FORMAT, std::string("at ") + place);
  for (const char* text : {"min", "min x", "min x st", "min x st\n c: x <= 2", "min x\nbounds\n x free", "max x\nint"})
    if (read(text) != TVN_RES_ERR_LP_FILE_FORMAT) expect_code(text, TVN_RES_ERR_READ_LP_MISSING_END_TAG, "line:");
  for (const char* text :
       {"min x +", "min x st\n c:", "min x st\n c: x <=", "min [ x", "min [ x^2 ]/", "min x\nbounds\n 3 <="})
    expect_code(text, TVN_RES_ERR_LP_FILE_FORMAT, "at (");
  expect_code("min x\nst\n c: x >= 1\n c: x <= 2\nend", TVN_RES_ERR_DUP_NAME, "'c'");
  expect_code("min [ 9e307 x * y + 9e307 y * x ]\nend", TVN_RES_ERR_INV_QOBJ_VAL, "inf");
  TVN_putintparam(task, TVN_IPAR_READ_LP_QUOTED_NAMES, 0);
  expect_code("min \"x\"\nend", TVN_RES_ERR_LP_FILE_FORMAT, "(1:5)");
  TVN_putintparam(task, TVN_IPAR_READ_LP_DROP_NEW_VARS_IN_BOU, 1);
  expect_code("min x\nbounds\n y <= 3\nend", TVN_RES_OK, "'y' is ignored");
  EXPECT_EQ(look(task).numvar, 1);
}

TEST_F(Formula, SectionsThatDoNotFitAreRefusedAtTheirLine) {
  const std::pair<const char*, TVNrescodee> faults[] = {
      {"[objective min] x", TVN_RES_ERR_OPF_PREMATURE_EOF},
      {"[objective min] x [/constraints]", TVN_RES_ERR_OPF_FORMAT},
      {"[objective] x [/objective]", TVN_RES_ERR_OPF_FORMAT},
      {"[objective min] x [/objective][objective min] x [/objective]", TVN_RES_ERR_OPF_FORMAT},
      {"[constraints][con] x + 3 <= 4 [/con][/constraints]", TVN_RES_ERR_OPF_FORMAT},
      {"[constraints][con] x <= y [/con][/constraints]", TVN_RES_ERR_OPF_FORMAT},
      {"[constraints][con c] x <= 1 [/con][con c] x <= 2 [/con][/constraints]", TVN_RES_ERR_DUP_NAME},
      {"[variables disallow_new_variables] x [/variables][objective min] y [/objective]", TVN_RES_ERR_OPF_NEW_VARIABLE},
      {"[bounds][b] x [/b][/bounds]", TVN_RES_ERR_OPF_FORMAT},
      {"[bounds][cone cube k] x,y [/cone][/bounds]", TVN_RES_ERR_OPF_FORMAT},
      {"[vendor tovan][parameters][p TVN_IPAR_NONE] 1 [/p][/parameters][/vendor]", TVN_RES_ERR_PARAM_NAME},
      {"[comment] never closed", TVN_RES_ERR_OPF_PREMATURE_EOF},
      {"[objective min] 1e308 + 1e308 [/objective]", TVN_RES_ERR_OPF_FORMAT},
      {"[unknown][/other]", TVN_RES_ERR_OPF_FORMAT},
      {"[/objective]", TVN_RES_ERR_OPF_FORMAT},
      {"x", TVN_RES_ERR_OPF_FORMAT},
  };
  for (const auto& [text, code] : faults) expect_code(text, code, "", "f.opf");
  expect_code("\n\n# text\n[bounds]\n ] [/bounds]", TVN_RES_ERR_OPF_FORMAT, "number: 5", "f.opf");
  const auto nested = [](int depth) {
    std::string open, close;
    for (int k = 0; k < depth; k++) {
      open += "[a" + std::to_string(k) + "]";
      close = "[/A" + std::to_string(k) + "]" + close;
    }
    return open + " a[1] " + close + "[Objective MIN] x [/OBJECTIVE]";
  };
  EXPECT_EQ(read(nested(64), "f.opf"), TVN_RES_OK) << last_message();
  EXPECT_EQ(read(nested(65), "f.opf"), TVN_RES_ERR_OPF_FORMAT);
  EXPECT_NE(read(nested(3000), "f.opf"), TVN_RES_OK);
  EXPECT_EQ(read("[hints][hint NUMVAR] 2000000000 [/hint][hint numanz] 2000000000000 [/hint][/hints]", "f.opf"),
            TVN_RES_OK);
}

TEST_F(Formula, TextThatIsPassedOverHidesNoSection) {
  for (const std::string tag : {"comment", "unknown"})
    for (const std::string inside : {"['tis", "[ 'a", "[", "[#", "[=", "[\"", "it's [1]"}) {
      const std::string open = "[" + tag + "] " + inside + (tag == "comment" ? " " : "\n") + "[/" + tag + "]";
      ASSERT_EQ(read(open + "[objective min] x [/objective]\n" + open, "f.opf"), TVN_RES_OK) << open;
      EXPECT_EQ(look(task).c, std::vector<double>{1}) << open;
    }
}

TEST_F(Formula, BoundsOfAllVariablesMeanTheSameAsOneByOneAndCostAsMuchAsOne) {
  uint32_t state = 1;
  const auto draw = [&state](uint32_t n) {
    state = state * 1664525 + 1013904223;
    return (state >> 12) % n;
  };
  const std::string bounds[] = {"-3 <= ", "-inf <= ", "2 >= ", "7 = ", "inf >= "};
  for (int round = 0; round < 200; round++) {
    std::string head = "[variables] a b c [/variables][bounds]", stars = head, single = head;
    for (uint32_t k = draw(8); k < 8; k++) {
      const std::string bound = "[b] " + bounds[draw(5)], name(1, "abc*"[draw(4)]);
      stars += bound + name + " [/b]";
      for (const char j : name == "*" ? std::string("abc") : name) single += bound + j + " [/b]";
    }
    ASSERT_EQ(read(single + "[/bounds]", "f.opf"), TVN_RES_OK);
    const picture want = look(task);
    ASSERT_EQ(read(stars + "[/bounds]", "f.opf"), TVN_RES_OK);
    ASSERT_EQ(difference(want, look(task)), "") << stars;
  }
  std::string text = "[bounds]";
  for (int k = 0; k < 100000; k++) text += "[b] v" + std::to_string(k) + " <= 1 [/b][b] 0 <= * [/b]";
  EXPECT_EQ(read(text + "[/bounds]", "f.opf"), TVN_RES_OK);
}

// ---- solutions and parameters ----

TEST_F(Formula, SolutionsAndParametersComeBack) {
  append(2, 2);
  TVN_putname(task, TVN_PI_VAR, 0, "x");
  TVN_putname(task, TVN_PI_VAR, 1, "a 'b'\\");
  const int32_t skc[] = {TVN_SK_LOW, TVN_SK_INF}, skx[] = {TVN_SK_BAS, TVN_SK_SUPBAS};
  const double xc[] = {1.0 / 3, -1e300}, xx[] = {5e-324, 2}, y[] = {-0.1, 3}, slc[] = {1, 2}, suc[] = {3, 4},
               slx[] = {5, 6}, sux[] = {7, INFINITY}, snx[] = {8, 9};
  for (const int32_t whichsol : {TVN_SOL_BAS, TVN_SOL_ITR})
    ASSERT_EQ(TVN_putsolution(task, whichsol, skc, skx, nullptr, xc, xx, y, slc, suc, slx, sux, snx), TVN_RES_OK);
  for (const int32_t param : {TVN_IPAR_OPF_WRITE_SOLUTIONS, TVN_IPAR_OPF_WRITE_PARAMETERS})
    TVN_putintparam(task, param, 1);
  TVN_putdouparam(task, TVN_DPAR_OPTIMIZER_MAX_TIME, 0.1);
  TVN_putstrparam(task, TVN_SPAR_DATA_FILE_NAME, "it's [a] file");
  const std::string text = written("s.opf");
  renew();
  ASSERT_EQ(read(text, "s.opf"), TVN_RES_OK) << last_message() << text;
  int32_t defined = 0, prosta = -1, solsta = -1;
  TVN_solutiondef(task, TVN_SOL_ITG, &defined);
  EXPECT_EQ(defined, 0);
  int32_t kc[2], kx[2];
  double c[2], x[2], yy[2], lc[2], uc[2], lx[2], ux[2], nx[2];
  for (const int32_t whichsol : {TVN_SOL_BAS, TVN_SOL_ITR}) {
    ASSERT_EQ(TVN_getsolution(task, whichsol, &prosta, &solsta, kc, kx, nullptr, c, x, yy, lc, uc, lx, ux, nx),
              TVN_RES_OK);
    EXPECT_EQ(solsta, TVN_SOL_STA_UNKNOWN);
    const auto same = [](const auto& a, const auto& b) { return a[0] == b[0] && a[1] == b[1]; };
    EXPECT_TRUE(same(kc, skc) && same(kx, skx) && same(c, xc) && same(x, xx) && same(yy, y));
    EXPECT_TRUE(same(lc, slc) && same(uc, suc) && same(lx, slx) && same(ux, sux));
  }
  EXPECT_TRUE(nx[0] == 8 && nx[1] == 9) << "the interior one has conic duals";
  EXPECT_EQ(written("t.opf"), text) << "the parameters too";
  ASSERT_EQ(read("[objective min] x [/objective][solutions][solution integer][var x] sk=** lvl=3 [/var][/solution]"
                 "[/solutions]",
                 "f.opf"),
            TVN_RES_OK);
  TVN_solutiondef(task, TVN_SOL_ITG, &defined);
  EXPECT_EQ(defined, 1);
}

// ---- damage ----

TEST_F(Formula, NoDamageBringsAReaderDown) {
  const char* const files[][2] = {
      {"f.lp", "\\ t\nmax o: 3 x + 2.5e1 y - [ x^2 + 2 x * y ]/2\nst\n c1: x + y <= 4\n r:: -1 <= x - 2 \"e 1\" <= 8\n"
               "bounds\n x <= 3\n -inf <= y <= 4\n z free\ngeneral\n x\nend\n"},
      {"f.lp", "minimize\n obj:\nsubject to\n x >= 1\n 3 = x\n e: <= 2\nbinaries x\nend\n"},
      {"f.opf",
       "[comment] c [/comment][hints][hint NUMVAR] 9 [/hint][/hints]\n[problemname]p q[/problemname]\n"
       "[variables disallow_new_variables] x 'y z' w [/variables]\n[objective maximize 'o']\n x - 3 + 0.5 ( 2 x ^ 2 - "
       "x * w )\n[/objective]\n[constraints][con c] -1 <= x + w <= 2 [/con][con] x = 3 [/con][/constraints]\n"
       "[bounds][b] 0 <= * [/b][b] x,w free [/b][cone quad k] x, 'y z' [/cone][/bounds]\n[integer] w [/integer]\n"
       "[branchpriorities][var 'x'] 3 up [/var][/branchpriorities]\n"},
      {"f.opf", "[vendor tovan][parameters][p TVN_IPAR_LOG] 3 [/p][p TVN_SPAR_DATA_FILE_NAME] 'a' [/p][/parameters]"
                "[/vendor][vendor b][c][/c][/vendor]"},
      {"f.opf",
       "[objective min] x [/objective][constraints][con] x >= 1 [/con][/constraints][solutions][solution basic "
       "status=OPTIMAL][var x] sk=BAS lvl=1 sl=0 su=0 [/var][con] sk=LL lvl=1 y=1 [/con][/solution][/solutions]"},
  };
  int numread = 0;
  for (const auto& [name, text] : files) {
    const std::string whole = text;
    ASSERT_EQ(read(whole, name), TVN_RES_OK) << last_message() << whole;
    std::vector<std::string> damaged;
    for (size_t k = 0; k < whole.size(); k++) {
      damaged.push_back(whole.substr(0, k));
      std::string flipped = whole;
      for (const int bit : {0, 5, 7}) {
        flipped[k] = static_cast<char>(whole[k] ^ (1 << bit));
        damaged.push_back(flipped);
      }
      flipped[k] = '\0';
      damaged.push_back(flipped);
    }
    for (size_t from = 0; from < whole.size();) {
      const size_t next = std::min(whole.find('\n', from), whole.size() - 1) + 1;
      damaged.push_back(whole.substr(0, from) + whole.substr(next));
      damaged.push_back(whole.substr(0, next) + whole.substr(from));
      from = next;
    }
    for (const std::string& each : damaged) {
      const TVNrescodee code = read(each, name);
      ASSERT_EQ(code != TVN_RES_OK, !reports.empty() && reports.back().code >= 1000) << code << each;
      numread += code == TVN_RES_OK;
      look(task);
    }
  }
  EXPECT_GT(numread, 100) << "most damage would hit the front only";
}

TEST_F(Formula, HugeTokensAndFloodsOfOneByteEndInAMoment) {
  constexpr size_t big = 10 << 20;
  for (const char c : {'x', '[', '(', '"', '\'', '3', '+', ' ', '\n', '\r', '\0', '\\', '#', '.'})
    for (const char* name : {"f.lp", "f.opf"}) {
      EXPECT_EQ(read(std::string(big, c), name) == TVN_RES_OK,
                name[2] == 'o' && std::string_view(" \n\r#").find(c) != std::string_view::npos)
          << c;
      read("min " + std::string(big, c), name);
    }
  const std::string name(3 << 20, 'n');
  EXPECT_EQ(read("min " + name + "\nst\n " + name + ": " + name + " >= 1\nend"), TVN_RES_OK);
  EXPECT_EQ(numanz(), 1);
  EXPECT_EQ(look(task).names[2], name);
  const std::string text = written("big.opf");
  EXPECT_EQ(read(text, "big.opf"), TVN_RES_OK);
  EXPECT_EQ(look(task).names[2], name);
  EXPECT_EQ(TVN_readdata(task, dir.c_str()), TVN_RES_ERR_FILE_OPEN);
  fs::create_directories(dir / "folder.lp");
  EXPECT_EQ(TVN_readdata(task, path("folder.lp").c_str()), TVN_RES_ERR_FILE_OPEN);
  ASSERT_EQ(TVN_writedata(task, path("z.lp.gz").c_str()), TVN_RES_OK);
  EXPECT_EQ(TVN_readdata(task, path("z.lp.gz").c_str()), TVN_RES_OK);
  fs::resize_file(path("z.lp.gz"), fs::file_size(path("z.lp.gz")) / 2);
  EXPECT_EQ(TVN_readdata(task, path("z.lp.gz").c_str()), TVN_RES_ERR_FILE_READ);
}

TEST_F(Formula, AStopTakesEffectWhileAFileIsRead) {
  std::string text = "min\n obj: x\nst\n";
  for (int k = 0; k < 200000; k++) text += " + x" + std::to_string(k) + " - 2 y >= 3\n";
  int32_t left = 2;
  TVN_putcallbackfunc(
      task, [](TVNtask_t, void* handle, int32_t) -> int32_t { return --*static_cast<int32_t*>(handle) < 0; }, &left);
  EXPECT_EQ(read(text + "end\n"), TVN_RES_TRM_USER_CALLBACK);
  EXPECT_EQ(look(task).numcon, 0);
}

// What comes behind the text, the way into the task, takes as long as the text.
TEST_F(Formula, AStopTakesEffectWhereNoTextIsReadOrWritten) {
  std::string text = "min\n obj:";
  for (int k = 0; k < 150000; k++) text += " + x" + std::to_string(k) + "\n";
  text += "st\n";
  for (int k = 0; k < 150000; k++) text += " c" + std::to_string(k) + ": x0 >= 3\n";
  struct countdown {
    int32_t left, calls;
  } c{INT32_MAX, 0};
  TVN_putcallbackfunc(
      task,
      [](TVNtask_t, void* handle, int32_t) -> int32_t {
        auto& self = *static_cast<countdown*>(handle);
        return ++self.calls > self.left;
      },
      &c);
  const auto stops_everywhere = [&](auto call, int64_t bytes) {
    c = {INT32_MAX, 0};
    ASSERT_EQ(call(), TVN_RES_OK);
    const int32_t calls = c.calls;
    EXPECT_GT(calls, bytes / (1 << 20) + 4) << "only the text is watched";
    for (int32_t left = 0; left < calls; left += 2) {
      c = {left, 0};
      ASSERT_EQ(call(), TVN_RES_TRM_USER_CALLBACK) << left;
      ASSERT_LE(c.calls, left + 2) << "more than the last event came";
    }
  };
  const auto size = static_cast<int64_t>(text.size());
  stops_everywhere([&] { return read(text + "end\n"); }, size);
  c = {INT32_MAX, 0};
  ASSERT_EQ(read(text + "end\n"), TVN_RES_OK);
  for (const char* name : {"w.lp", "w.opf"}) {
    c = {INT32_MAX, 0};
    ASSERT_EQ(TVN_writedata(task, path(name).c_str()), TVN_RES_OK);
    stops_everywhere([&] { return TVN_writedata(task, path(name).c_str()); },
                     static_cast<int64_t>(fs::file_size(path(name))));
  }
}
