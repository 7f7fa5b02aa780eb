// If these fail, a file is read as another problem than its author wrote, or a bad file is taken for a good one.
#include "tovan.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <string>
#include <unistd.h>
#include <vector>
#include <zlib.h>

namespace {

// One line at the columns of fixed form.
std::string fixed(const std::string& key, const std::string& name2, const std::string& name3 = "",
                  const std::string& value4 = "", const std::string& name5 = "", const std::string& value6 = "") {
  const std::pair<size_t, const std::string&> fields[] = {{1, key},     {4, name2},  {14, name3},
                                                          {24, value4}, {39, name5}, {49, value6}};
  std::string line;
  for (const auto& [column, text] : fields) {
    if (text.empty()) continue;
    line.resize(column, ' ');
    line += text;
  }
  return line + "\n";
}

struct Read : ::testing::Test {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  std::string errors, warnings, log;
  std::filesystem::path dir = std::filesystem::temp_directory_path() / ("tvn_read_" + std::to_string(getpid()));

  static void collect(void* handle, const char* text) { static_cast<std::string*>(handle)->append(text); }
  Read() {
    std::filesystem::create_directories(dir);
    EXPECT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, ""), TVN_RES_OK);
    EXPECT_EQ(TVN_initenv(env), TVN_RES_OK);
    EXPECT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
    TVN_linkfunctotaskstream(task, TVN_STREAM_ERR, &errors, collect);
    TVN_linkfunctotaskstream(task, TVN_STREAM_WRN, &warnings, collect);
    TVN_linkfunctotaskstream(task, TVN_STREAM_LOG, &log, collect);
  }
  ~Read() override {
    EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK) << "memory was left";
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
    std::filesystem::remove_all(dir);
  }

  std::string write(const std::string& name, const std::string& text) {
    std::ofstream(dir / name, std::ios::binary) << text;
    return (dir / name).string();
  }
  TVNrescodee read(const std::string& text, const std::string& name = "f.mps") {
    errors.clear();
    warnings.clear();
    return TVN_readdata(task, write(name, text).c_str());
  }
  // A small problem with other text between COLUMNS and ENDATA.
  static std::string with(const std::string& rest) {
    return "NAME          SMALL\nROWS\n" + fixed("N", "COST") + fixed("L", "LIM") + fixed("G", "MYGE") +
           fixed("E", "EQ") + fixed("N", "FREE") + "COLUMNS\n" + fixed("", "X", "COST", "1.5", "LIM", "1") +
           fixed("", "X", "MYGE", "2") + fixed("", "Y", "LIM", "-1", "EQ", "4") + fixed("", "Y", "FREE", "9") +
           fixed("", "Z", "EQ", "1") + rest + "ENDATA\n";
  }
  struct bound {
    int32_t key = -1;
    double lower = 0, upper = 0;
    bool operator==(const bound&) const = default;
  };
  bound of(int32_t side, int32_t i) {
    bound b;
    EXPECT_EQ(TVN_getbound(task, side, i, &b.key, &b.lower, &b.upper), TVN_RES_OK);
    return b;
  }
  bound con(int32_t i) { return of(TVN_ACC_CON, i); }
  bound var(int32_t j) { return of(TVN_ACC_VAR, j); }
  double a(int32_t i, int32_t j) {
    double value = NAN;
    EXPECT_EQ(TVN_getaij(task, i, j, &value), TVN_RES_OK);
    return value;
  }
  double fixed_term() {
    double value = NAN;
    TVN_getcfix(task, &value);
    return value;
  }
  std::string name(int32_t item, int32_t i) {
    char text[256] = "";
    EXPECT_EQ(TVN_getname(task, item, i, sizeof text, nullptr, text), TVN_RES_OK);
    return text;
  }
  int32_t count(TVNrescodee (*get)(TVNtask_t, int32_t*)) {
    int32_t n = -1;
    EXPECT_EQ(get(task, &n), TVN_RES_OK);
    return n;
  }
  bool is_integer(int32_t j) {
    int32_t type = -1;
    TVN_getvartype(task, j, &type);
    return type == TVN_VAR_TYPE_INT;
  }
};

constexpr double inf = 1e30;

} // namespace

TEST_F(Read, ASmallFileBecomesItsProblem) {
  ASSERT_EQ(read(with("RHS\n" + fixed("", "B", "LIM", "4", "MYGE", "1") + fixed("", "B", "EQ", "-7", "COST", "-10"))),
            0)
      << errors;
  EXPECT_EQ(count(TVN_getnumcon), 3) << "no row of type N is left";
  EXPECT_EQ(count(TVN_getnumvar), 3);
  EXPECT_EQ(con(0), (bound{TVN_BK_UP, -inf, 4}));
  EXPECT_EQ(con(1), (bound{TVN_BK_LO, 1, inf}));
  EXPECT_EQ(con(2), (bound{TVN_BK_FX, -7, -7}));
  EXPECT_EQ(var(0), (bound{TVN_BK_LO, 0, inf}));
  EXPECT_EQ(a(0, 0), 1);
  EXPECT_EQ(a(1, 0), 2);
  EXPECT_EQ(a(0, 1), -1);
  EXPECT_EQ(a(2, 1), 4);
  double c[3];
  TVN_getc(task, c);
  EXPECT_EQ(c[0], 1.5);
  EXPECT_EQ(c[1], 0);
  EXPECT_EQ(fixed_term(), 10) << "minus the right-hand side of the objective";
  EXPECT_EQ(name(TVN_PI_CON, 1), "MYGE");
  EXPECT_EQ(name(TVN_PI_VAR, 2), "Z");
  char text[64];
  TVN_gettaskname(task, sizeof text, nullptr, text);
  EXPECT_STREQ(text, "SMALL");
  TVN_getobjname(task, sizeof text, nullptr, text);
  EXPECT_STREQ(text, "COST");
  int32_t sense = -1, item = 0;
  TVN_getobjsense(task, &sense);
  EXPECT_EQ(sense, TVN_OBJECTIVE_SENSE_UNDEFINED) << "the parameter decides";
  TVN_getintinf(task, TVN_IINF_RD_NUMCON, &item);
  EXPECT_EQ(item, 3);
  int64_t numanz = 0;
  TVN_getlintinf(task, TVN_LIINF_RD_NUMANZ, &numanz);
  EXPECT_EQ(numanz, 5);
  EXPECT_NE(log.find("Using 'B' as rhs vector\n"), std::string::npos) << log;
}

TEST_F(Read, RangesFollowTheKeyOfTheRow) {
  const std::string rhs = "RHS\n" + fixed("", "B", "LIM", "4", "MYGE", "1") + fixed("", "B", "EQ", "10");
  ASSERT_EQ(
      read(with(rhs + "RANGES\n" + fixed("", "R", "LIM", "-3", "MYGE", "2") + fixed("", "R", "EQ", "5", "FREE", "1"))),
      0)
      << errors;
  EXPECT_EQ(con(0), (bound{TVN_BK_RA, 1, 4}));
  EXPECT_EQ(con(1), (bound{TVN_BK_RA, 1, 3}));
  EXPECT_EQ(con(2), (bound{TVN_BK_RA, 10, 15}));
  ASSERT_EQ(read(with(rhs + "RANGES\n" + fixed("", "R", "LIM", "0", "MYGE", "0") + fixed("", "R", "EQ", "-5"))), 0);
  EXPECT_EQ(con(0), (bound{TVN_BK_FX, 4, 4}));
  EXPECT_EQ(con(1), (bound{TVN_BK_FX, 1, 1}));
  EXPECT_EQ(con(2), (bound{TVN_BK_RA, 5, 10}));
}

TEST_F(Read, BoundsOfEveryTypeChangeWhatTheySay) {
  const auto bounds = [&](const std::vector<std::pair<std::string, std::string>>& lines) {
    std::string text = "BOUNDS\n";
    for (const auto& [key, value] : lines) text += fixed(key, "BND", "X", value);
    EXPECT_EQ(read(with(text)), TVN_RES_OK) << errors;
    return var(0);
  };
  EXPECT_EQ(bounds({{"UP", "5"}}), (bound{TVN_BK_RA, 0, 5}));
  EXPECT_EQ(bounds({{"LO", "2"}}), (bound{TVN_BK_LO, 2, inf}));
  EXPECT_EQ(bounds({{"UP", "5"}, {"LO", "-2"}}), (bound{TVN_BK_RA, -2, 5}));
  EXPECT_EQ(bounds({{"MI", ""}}), (bound{TVN_BK_FR, -inf, inf}));
  EXPECT_EQ(bounds({{"UP", "5"}, {"MI", ""}}), (bound{TVN_BK_UP, -inf, 5}));
  EXPECT_EQ(bounds({{"MI", ""}, {"UP", "-5"}}), (bound{TVN_BK_UP, -inf, -5}));
  EXPECT_EQ(bounds({{"UP", "5"}, {"PL", ""}}), (bound{TVN_BK_LO, 0, inf}));
  EXPECT_EQ(bounds({{"FR", ""}}), (bound{TVN_BK_FR, -inf, inf}));
  EXPECT_EQ(bounds({{"FX", "3"}}), (bound{TVN_BK_FX, 3, 3}));
  EXPECT_EQ(bounds({{"UP", "-1"}}), (bound{TVN_BK_RA, 0, -1})) << "an empty range is left for the optimizer to find";
  EXPECT_EQ(bounds({{"UP", "1e30"}}), (bound{TVN_BK_LO, 0, inf}));
  EXPECT_FALSE(is_integer(0));
  EXPECT_EQ(bounds({{"BV", ""}}), (bound{TVN_BK_RA, 0, 1}));
  EXPECT_TRUE(is_integer(0));
  EXPECT_EQ(bounds({{"LI", "1.5"}, {"UI", "4.5"}}), (bound{TVN_BK_RA, 2, 4}));
  EXPECT_TRUE(is_integer(0));
}

TEST_F(Read, MarkersMakeIntegerVariablesBetweenZeroAndOne) {
  const std::string text = "ROWS\n" + fixed("N", "OBJ") + "COLUMNS\n" + fixed("", "A", "OBJ", "1") +
                           fixed("", "M", "'MARKER'", "", "'INTORG'") + fixed("", "B", "OBJ", "1") +
                           fixed("", "C", "OBJ", "1") + fixed("", "M", "'MARKER'", "", "'INTEND'") +
                           fixed("", "D", "OBJ", "1") + "BOUNDS\n" + fixed("UP", "BND", "C", "7") + "ENDATA\n";
  ASSERT_EQ(read(text), TVN_RES_OK) << errors;
  EXPECT_EQ(count(TVN_getnumcon), 0);
  EXPECT_EQ(count(TVN_getnumintvar), 2);
  EXPECT_TRUE(!is_integer(0) && is_integer(1) && is_integer(2) && !is_integer(3));
  EXPECT_EQ(var(1), (bound{TVN_BK_RA, 0, 1}));
  EXPECT_EQ(var(2), (bound{TVN_BK_RA, 0, 7}));
  // The three words of a marker may stand anywhere in relaxed mode, but not in strict mode.
  std::string loose = text;
  for (const char* word : {"'INTORG'", "'INTEND'"})
    loose.replace(loose.find(word) - 25, 33, std::string("             'MARKER'                 ") + word);
  ASSERT_EQ(read(loose), TVN_RES_OK) << errors;
  EXPECT_TRUE(!is_integer(0) && is_integer(1) && is_integer(2) && !is_integer(3));
  TVN_putintparam(task, TVN_IPAR_READ_MPS_FORMAT, TVN_MPS_FORMAT_STRICT);
  EXPECT_EQ(read(loose), TVN_RES_ERR_MPS_INV_FIELD);
  TVN_putintparam(task, TVN_IPAR_READ_MPS_KEEP_INT, TVN_OFF);
  ASSERT_EQ(read(text), TVN_RES_OK);
  EXPECT_EQ(count(TVN_getnumintvar), 0);
}

TEST_F(Read, VectorsAreChosenByNameOrElseTheFirst) {
  const std::string rhs = "RHS\n" + fixed("", "", "LIM", "1") + fixed("", "B2", "LIM", "2") + fixed("", "", "EQ", "3");
  ASSERT_EQ(read(with(rhs)), TVN_RES_OK) << errors;
  EXPECT_EQ(con(0).upper, 1) << "a vector may have a blank name";
  EXPECT_EQ(con(2).upper, 3) << "a split vector is used to its end";
  EXPECT_NE(warnings.find("The RHS vector '' is split"), std::string::npos) << warnings;
  TVN_putstrparam(task, TVN_SPAR_READ_MPS_RHS_NAME, "B2");
  ASSERT_EQ(read(with(rhs)), TVN_RES_OK);
  EXPECT_EQ(con(0).upper, 2);
  EXPECT_EQ(con(2).upper, 0);
  TVN_putstrparam(task, TVN_SPAR_READ_MPS_RHS_NAME, "");
  TVN_putintparam(task, TVN_IPAR_READ_MPS_WIDTH, 4000);
  TVN_putintparam(task, TVN_IPAR_READ_MPS_FORMAT, TVN_MPS_FORMAT_FREE);
  ASSERT_EQ(read(with("RHS\n " + std::string(2000, 'v') + " LIM 8\n")), TVN_RES_OK) << errors;
  EXPECT_EQ(con(0).upper, 8) << "names of any length";
  TVN_putintparam(task, TVN_IPAR_READ_MPS_FORMAT, TVN_MPS_FORMAT_RELAXED);
  TVN_putstrparam(task, TVN_SPAR_READ_MPS_OBJ_NAME, "FREE");
  ASSERT_EQ(read(with("")), TVN_RES_OK) << errors;
  double c[3];
  TVN_getc(task, c);
  EXPECT_EQ(c[1], 9);
  TVN_putstrparam(task, TVN_SPAR_READ_MPS_OBJ_NAME, "NONE");
  EXPECT_EQ(read(with("")), TVN_RES_ERR_MPS_INVALID_OBJ_NAME);
}

TEST_F(Read, OnlyRowsOfTypeNAreDropped) {
  ASSERT_EQ(read(with("RHS\n" + fixed("", "B", "LIM", "1e30"))), TVN_RES_OK) << errors;
  EXPECT_EQ(count(TVN_getnumcon), 3);
  EXPECT_EQ(con(0).key, TVN_BK_FR) << "a row whose bound is infinite is still a row";
  TVN_putintparam(task, TVN_IPAR_READ_KEEP_FREE_CON, TVN_ON);
  ASSERT_EQ(read(with("")), TVN_RES_OK) << errors;
  EXPECT_EQ(count(TVN_getnumcon), 5);
  EXPECT_EQ(a(0, 0), 1.5) << "the objective row repeats the objective";
  EXPECT_EQ(con(0).key, TVN_BK_FR);
}

TEST_F(Read, EntriesOfOneElementAreAddedAndZerosDropped) {
  const std::string text = "ROWS\n" + fixed("N", "OBJ") + fixed("L", "R") + "COLUMNS\n" +
                           fixed("", "A", "R", "1", "OBJ", "2") + fixed("", "A", "R", "2.5", "OBJ", "3") +
                           fixed("", "B", "R", "0.0") + "ENDATA\n";
  ASSERT_EQ(read(text), TVN_RES_OK) << errors;
  EXPECT_EQ(a(0, 0), 3.5);
  double c[2];
  TVN_getc(task, c);
  EXPECT_EQ(c[0], 5);
  int32_t nz = -1;
  TVN_getavecnumnz(task, TVN_ACC_VAR, 1, &nz);
  EXPECT_EQ(nz, 0);
}

TEST_F(Read, QuadraticTermsGoToTheirRows) {
  const std::string q = "QUADOBJ\n" + fixed("", "X", "X", "2", "Y", "-1") + fixed("", "Z", "Y", "3") +
                        "QSECTION      LIM\n" + fixed("", "Y", "Y", "4");
  ASSERT_EQ(read(with(q)), TVN_RES_OK) << errors;
  double value = 0;
  const auto qobj = [&](int32_t i, int32_t j) { return TVN_getqobjij(task, i, j, &value), value; };
  EXPECT_EQ(qobj(0, 0), 2);
  EXPECT_EQ(qobj(1, 0), -1);
  EXPECT_EQ(qobj(2, 1), 3);
  int32_t num = 0, type = -1;
  TVN_getnumqconknz(task, 0, &num);
  EXPECT_EQ(num, 1);
  TVN_getprobtype(task, &type);
  EXPECT_EQ(type, TVN_PROBTYPE_QCQO);
  TVN_getintinf(task, TVN_IINF_RD_NUMQ, &num);
  EXPECT_EQ(num, 1) << "constraints only";
  int64_t terms = 0;
  TVN_getlintinf(task, TVN_LIINF_RD_NUMQNZ, &terms);
  EXPECT_EQ(terms, 4);
  TVN_putintparam(task, TVN_IPAR_READ_Q_MODE, TVN_Q_READ_DROP_LOWER);
  ASSERT_EQ(read(with("QUADOBJ\n" + fixed("", "X", "X", "2", "Y", "5") + fixed("", "Y", "X", "5"))), 0) << errors;
  EXPECT_EQ(qobj(0, 0), 0) << "the diagonal goes too";
  EXPECT_EQ(qobj(1, 0), 5);
  EXPECT_NE(warnings.find("'2' non-zero element(s) are dropped"), std::string::npos) << warnings;
  EXPECT_EQ(read(with(q + "QSECTION      COST\n")), TVN_RES_ERR_MPS_MUL_QSEC);
}

TEST_F(Read, ConesHaveTheirMembersInOrder) {
  const std::string head = "CSECTION      K1        0.0            QUAD\n";
  ASSERT_EQ(read(with(head + fixed("", "Z") + fixed("", "X"))), TVN_RES_OK) << errors;
  int32_t type = -1, num = 0, sub[3] = {};
  ASSERT_EQ(TVN_getcone(task, 0, &type, nullptr, &num, sub), TVN_RES_OK);
  EXPECT_EQ(type, TVN_CT_QUAD);
  ASSERT_EQ(num, 2);
  EXPECT_EQ(sub[0], 2);
  EXPECT_EQ(sub[1], 0);
  EXPECT_EQ(name(TVN_PI_CONE, 0), "K1");
  EXPECT_EQ(read(with(head + fixed("", "Z") + fixed("", "Z"))), TVN_RES_ERR_MPS_CONE_REPEAT);
  const std::string second = "CSECTION      K2        0.0            RQUAD\n";
  EXPECT_EQ(read(with(head + fixed("", "Z") + second + fixed("", "Z"))), TVN_RES_ERR_MPS_CONE_OVERLAP);
  EXPECT_NE(errors.find("Variable 'Z' is specified to be a member of CSECTION 'K1' and CSECTION 'K2'."),
            std::string::npos)
      << errors;
  EXPECT_EQ(read(with(head + fixed("", "Z") + head)), TVN_RES_ERR_MPS_MUL_CSEC);
  EXPECT_EQ(read(with("CSECTION      K1        0.0            CONE\n")), TVN_RES_ERR_MPS_CONE_TYPE);
}

TEST_F(Read, FreeFormNeedsNoColumns) {
  const std::string text =
      "NAME my problem\nOBJSENSE\n  MAX\nROWS\n N obj\n L a_long_constraint_name\nCOLUMNS\n"
      " M 'MARKER' 'INTORG'\n x obj 1 a_long_constraint_name 2\n M 'MARKER' 'INTEND'\n"
      "\ty\tobj -1.5D1\nRHS\n rhs a_long_constraint_name 4\nBOUNDS\n UP bnd x 3\n FR bnd y\nENDATA\n";
  ASSERT_EQ(read(text, "f.fmps"), TVN_RES_OK) << errors;
  EXPECT_EQ(name(TVN_PI_CON, 0), "a_long_constraint_name");
  EXPECT_EQ(a(0, 0), 2);
  EXPECT_EQ(var(0), (bound{TVN_BK_RA, 0, 3}));
  EXPECT_EQ(var(1).key, TVN_BK_FR);
  EXPECT_TRUE(is_integer(0) && !is_integer(1));
  double c[2];
  TVN_getc(task, c);
  EXPECT_EQ(c[1], -15);
  int32_t sense = 0;
  TVN_getobjsense(task, &sense);
  EXPECT_EQ(sense, TVN_OBJECTIVE_SENSE_MAXIMIZE);
  TVN_putintparam(task, TVN_IPAR_READ_MPS_OBJ_SENSE, TVN_OFF);
  ASSERT_EQ(read(text, "f.fmps"), TVN_RES_OK);
  TVN_getobjsense(task, &sense);
  EXPECT_EQ(sense, TVN_OBJECTIVE_SENSE_UNDEFINED);
}

// Free form with short names, which run past no field, and comments behind a dollar sign, in either form.
TEST_F(Read, WhatCanOnlyBeFreeFormIsReadAsSuchUnasked) {
  const std::string rows = "ROWS\n N obj\n L c1\n G c2\n", vectors = "RHS\n r c1 4 c2 1\nBOUNDS\n UP b x 3\nENDATA\n";
  const std::string columns = "COLUMNS\n x obj 1 c1 2\n x c2 1\n q c1 0 $ empty column\n y obj -1 $ c1 7\n";
  ASSERT_EQ(read(rows + columns + vectors), TVN_RES_OK) << errors;
  EXPECT_NE(log.find("free form"), std::string::npos);
  int32_t numvar = 0;
  TVN_getnumvar(task, &numvar);
  ASSERT_EQ(numvar, 3);
  EXPECT_EQ(a(0, 0), 2);
  EXPECT_EQ(a(1, 0), 1);
  EXPECT_EQ(a(0, 2), 0) << "a comment was read";
  EXPECT_EQ(var(0), (bound{TVN_BK_RA, 0, 3}));
  // Only COLUMNS tells.
  ASSERT_EQ(read("ROWS\n N  obj\n L  c1\nCOLUMNS\n x  obj 1 c1 2\nENDATA\n"), TVN_RES_OK) << errors;
  EXPECT_EQ(a(0, 0), 2);
  // At fixed columns, but not in strict mode.
  const std::string comment = with(fixed("", "W", "EQ", "5", "$ TEXT") + fixed("", "V", "$ EMPTY", "TEXT"));
  ASSERT_EQ(read(comment), TVN_RES_OK) << errors;
  EXPECT_EQ(a(2, 3), 5);
  TVN_getnumvar(task, &numvar);
  EXPECT_EQ(numvar, 5);
  TVN_putintparam(task, TVN_IPAR_READ_MPS_FORMAT, TVN_MPS_FORMAT_STRICT);
  EXPECT_NE(read(comment), TVN_RES_OK);
  TVN_putintparam(task, TVN_IPAR_READ_MPS_FORMAT, TVN_MPS_FORMAT_RELAXED);
  // Names that begin with the sign are names.
  ASSERT_EQ(read("ROWS\n N obj\n L $1\nCOLUMNS\n x obj 1 $1 2\n $y $1 3\nRHS\n r $1 4\nBOUNDS\n UP b $y 3\nENDATA\n"),
            TVN_RES_OK)
      << errors;
  EXPECT_EQ(a(0, 0), 2);
  EXPECT_EQ(a(0, 1), 3);
  EXPECT_EQ(var(1), (bound{TVN_BK_RA, 0, 3}));
  ASSERT_EQ(read(with("CSECTION      $K        0.0            QUAD\n" + fixed("", "X") + fixed("", "Y"))), TVN_RES_OK)
      << errors;
  EXPECT_EQ(name(TVN_PI_CONE, 0), "$K");
  // What cannot be told gets a remedy.
  EXPECT_EQ(read("ROWS\n" + fixed("N", "OBJ") + fixed("L", "R") + "COLUMNS\n" + fixed("", "A", "R", "1") +
                 "RHS\n r R 4\nENDATA\n"),
            TVN_RES_ERR_MPS_INV_FIELD);
  EXPECT_NE(errors.find("TVN_IPAR_READ_MPS_FORMAT"), std::string::npos);
  ASSERT_EQ(read("NAME\nSETS\n    ANY\n" + with("").substr(with("").find("ROWS"))), TVN_RES_OK) << errors;
}

TEST_F(Read, EveryFaultHasItsCodeAndShowsItsLine) {
  const std::string rows = "ROWS\n" + fixed("N", "OBJ") + fixed("L", "R");
  const std::string cols = "COLUMNS\n" + fixed("", "A", "R", "1");
  const std::pair<std::string, TVNrescodee> cases[] = {
      {rows + fixed("L", "R") + "ENDATA\n", TVN_RES_ERR_MPS_MUL_CON_NAME},
      {rows + fixed("Q", "S") + "ENDATA\n", TVN_RES_ERR_MPS_INV_CON_KEY},
      {rows + " L\nENDATA\n", TVN_RES_ERR_MPS_NULL_CON_NAME},
      {"ROWS\n" + fixed("L", "R") + "COLUMNS\nENDATA\n", TVN_RES_ERR_MPS_NO_OBJECTIVE},
      {rows + cols + fixed("", "B", "R", "1") + fixed("", "A", "OBJ", "1") + "ENDATA\n", TVN_RES_ERR_MPS_SPLITTED_VAR},
      {rows + cols + fixed("", "A", "S", "1") + "ENDATA\n", TVN_RES_ERR_MPS_UNDEF_CON_NAME},
      {rows + cols + fixed("", "A", "OBJ", "nan") + "ENDATA\n", TVN_RES_ERR_MPS_INV_FIELD},
      {rows + cols + fixed("", "A", "OBJ", "12abc") + "ENDATA\n", TVN_RES_ERR_MPS_INV_FIELD},
      {rows + cols + fixed("", "A\tB", "OBJ", "1") + "ENDATA\n", TVN_RES_ERR_MPS_TAB_IN_FIELD2},
      {rows + cols + fixed("", "M", "'MARKER'", "", "'INTORG'") + fixed("", "M", "'MARKER'", "", "'INTORG'"),
       TVN_RES_ERR_MPS_INV_MARKER},
      {rows + cols + "BOUNDS\n" + fixed("XX", "BND", "A", "1") + "ENDATA\n", TVN_RES_ERR_MPS_INV_BOUND_KEY},
      {rows + cols + "BOUNDS\n" + fixed("UP", "BND", "B", "1") + "ENDATA\n", TVN_RES_ERR_MPS_UNDEF_VAR_NAME},
      {rows + cols + "RHS\n" + fixed("", "B", "", "1") + "ENDATA\n", TVN_RES_ERR_MPS_NULL_CON_NAME},
      {rows + cols + "BOUNDS\nRHS\nENDATA\n", TVN_RES_ERR_MPS_INV_SEC_ORDER},
      {"QUADOBJ\n" + rows + cols + "ENDATA\n", TVN_RES_ERR_MPS_INV_SEC_ORDER},
      {rows + cols + "RUBBISH\nENDATA\n", TVN_RES_ERR_MPS_INV_FIELD},
      {"OBJSENSE\n    BEST\n" + rows + cols + "ENDATA\n", TVN_RES_ERR_MPS_INVALID_OBJSENSE},
      {rows + cols, TVN_RES_ERR_END_OF_FILE},
      {rows + cols + "    " + std::string(1100, 'x') + "\nENDATA\n", TVN_RES_ERR_MPS_FILE},
      {"ENDATA\n", TVN_RES_ERR_MPS_NO_OBJECTIVE},
      {"", TVN_RES_ERR_END_OF_FILE},
  };
  for (const auto& [text, code] : cases) {
    EXPECT_EQ(read(text), code) << text << errors;
    EXPECT_NE(errors.find("The error occured at line("), std::string::npos) << text << errors;
    char last[8];
    int32_t lastcode = 0;
    TVN_getlasterror(task, &lastcode, sizeof last, nullptr, last);
    EXPECT_EQ(lastcode, code);
  }
  // The first of two faults is told, at its line.
  const std::string noline = fixed("", "A", "NONE", "2"), nonumber = fixed("", "A", "OBJ", "0x10");
  for (const auto& [first, second, told] :
       {std::tuple{noline, nonumber, "'NONE' is an undefined constraint name."},
        {noline, fixed("", "", "OBJ", "1"), "'NONE' is an undefined constraint name."},
        {nonumber, noline, "Field number 4 is invalid."}}) {
    EXPECT_NE(read(rows + cols + first + second), TVN_RES_OK);
    EXPECT_NE(errors.find(std::string(told) + "\nThe error occured at line(6):\n" + first), std::string::npos)
        << errors;
  }
}

TEST_F(Read, FilesAreFoundByTheirNamesAndFormats) {
  const std::string text = with("");
  const std::string plain = write("p", text);
  EXPECT_EQ(TVN_readdata(task, plain.c_str()), TVN_RES_OK) << "no extension is MPS";
  TVN_putstrparam(task, TVN_SPAR_DATA_FILE_NAME, plain.c_str());
  EXPECT_EQ(TVN_readdata(task, ""), TVN_RES_OK);
  EXPECT_EQ(TVN_readdata(task, nullptr), TVN_RES_OK);
  TVN_putstrparam(task, TVN_SPAR_DATA_FILE_NAME, "");
  EXPECT_EQ(TVN_readdata(task, nullptr), TVN_RES_ERR_INVALID_FILE_NAME);
  EXPECT_EQ(TVN_readdata(task, (dir / "none.mps").c_str()), TVN_RES_ERR_FILE_OPEN);
  EXPECT_EQ(count(TVN_getnumvar), 3) << "a file that cannot be opened leaves the task as it was";
  EXPECT_EQ(read(text, "f.XML"), TVN_RES_ERR_READ_FORMAT);
  EXPECT_NE(errors.find("The format code is 5."), std::string::npos) << errors;
  EXPECT_EQ(read(text, "f.tbt"), TVN_RES_ERR_READ_FORMAT);
  EXPECT_EQ(count(TVN_getnumvar), 3) << "nor does one of a format that has no reader";
  // What the items tell of the file outlasts a run.
  int64_t before = 0, after = 0;
  EXPECT_EQ(TVN_getlintinf(task, TVN_LIINF_RD_NUMANZ, &before), TVN_RES_OK);
  ASSERT_EQ(TVN_putintparam(task, TVN_IPAR_MIO_MODE, TVN_MIO_MODE_IGNORED), TVN_RES_OK);
  (void)TVN_optimize(task);
  EXPECT_EQ(TVN_getlintinf(task, TVN_LIINF_RD_NUMANZ, &after), TVN_RES_OK);
  EXPECT_EQ(after, before);
  EXPECT_GT(after, 0);

  for (const char* name : {"f.mps.gz", "f.gz"}) {
    const std::string path = (dir / name).string();
    gzFile gz = gzopen(path.c_str(), "wb");
    gzwrite(gz, text.data(), static_cast<unsigned>(text.size()));
    gzclose(gz);
    EXPECT_EQ(TVN_readdata(task, path.c_str()), TVN_RES_OK) << errors;
    EXPECT_EQ(count(TVN_getnumvar), 3);
  }
}

TEST_F(Read, ALongReadStopsWhenTheCallbackAsksForIt) {
  std::string text = "ROWS\n" + fixed("N", "OBJ") + "COLUMNS\n";
  for (int k = 0; k < 200000; k++) text += fixed("", "X" + std::to_string(k), "OBJ", "1");
  struct state {
    int32_t calls = 0, stopat = 0;
  } s;
  const auto callback = [](TVNtask_t, void* handle, int32_t) -> int32_t {
    auto* p = static_cast<state*>(handle);
    return ++p->calls == p->stopat;
  };
  TVN_putcallbackfunc(task, callback, &s);
  ASSERT_EQ(read(text + "ENDATA\n"), TVN_RES_OK) << errors;
  const int32_t calls = s.calls;
  EXPECT_GE(calls, 6);
  for (int32_t stopat = 1; stopat <= calls; stopat++) {
    s = {0, stopat};
    EXPECT_EQ(read(text + "ENDATA\n"), TVN_RES_TRM_USER_CALLBACK) << stopat;
    if (stopat < calls) { EXPECT_LE(s.calls, stopat + 1) << "no more than the end is told"; }
  }
  s = {};
  EXPECT_EQ(read(with("")), TVN_RES_OK) << "the task is usable afterwards";
}

TEST_F(Read, TheSummaryTellsWhatWasRead) {
  ASSERT_EQ(read(with("")), TVN_RES_OK);
  EXPECT_EQ(TVN_readsummary(task, 4), TVN_RES_ERR_INVALID_STREAM);
  log.clear();
  TVN_readsummary(task, TVN_STREAM_LOG);
  EXPECT_TRUE(log.starts_with("Read - objective sense      : undefined     problem type         : ")) << log;
  EXPECT_NE(log.find("Read - number of constraints: 3             number of variables  : 3           \n"),
            std::string::npos)
      << log;
}
