// If these fail, an optimizer runs with other settings than the user asked for.
#include "tovan.h"

#include <cmath>
#include <cstdlib>
#include <cstring>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <string>
#include <unistd.h>

namespace {

struct Param : ::testing::Test {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  std::string errors, messages;
  std::string path = (std::filesystem::temp_directory_path() / ("tvn_par_" + std::to_string(getpid()))).string();

  static void collect(void* handle, const char* text) { static_cast<std::string*>(handle)->append(text); }
  Param() {
    EXPECT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, ""), TVN_RES_OK);
    EXPECT_EQ(TVN_initenv(env), TVN_RES_OK);
    EXPECT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
    TVN_linkfunctotaskstream(task, TVN_STREAM_ERR, &errors, collect);
    TVN_linkfunctotaskstream(task, TVN_STREAM_MSG, &messages, collect);
  }
  ~Param() override {
    EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
    EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK);
    std::filesystem::remove(path);
  }
  int32_t integer(int32_t param) {
    int32_t value = -12345;
    EXPECT_EQ(TVN_getintparam(task, param, &value), TVN_RES_OK);
    return value;
  }
  double real(int32_t param) {
    double value = NAN;
    EXPECT_EQ(TVN_getdouparam(task, param, &value), TVN_RES_OK);
    return value;
  }
  std::string string(int32_t param) {
    char value[256];
    EXPECT_EQ(TVN_getstrparam(task, param, sizeof value, nullptr, value), TVN_RES_OK);
    return value;
  }
  TVNrescodee read_file(const std::string& text) {
    std::ofstream(path) << text;
    TVN_putstrparam(task, TVN_SPAR_PARAM_READ_FILE_NAME, path.c_str());
    return TVN_readparamfile(task);
  }
};

} // namespace

TEST_F(Param, PutsObeyTheRuleOfTheKind) {
  EXPECT_EQ(TVN_putintparam(task, TVN_IPAR_INTPNT_MAX_ITERATIONS, -1), TVN_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_NE(errors.find("The parameter value -1 is too small for parameter 'TVN_IPAR_INTPNT_MAX_ITERATIONS'."),
            std::string::npos)
      << errors;
  EXPECT_EQ(TVN_putintparam(task, TVN_IPAR_MIO_FEASPUMP_LEVEL, 4), TVN_RES_ERR_PARAM_IS_TOO_LARGE);
  EXPECT_EQ(TVN_putintparam(task, TVN_IPAR_MIO_FEASPUMP_LEVEL, -100), TVN_RES_OK);
  EXPECT_EQ(TVN_putintparam(task, TVN_IPAR_SIM_DEGEN, 5), TVN_RES_ERR_PARAM_IS_TOO_LARGE);
  EXPECT_EQ(TVN_putintparam(task, TVN_IPAR_CACHE_SIZE_L1, -77), TVN_RES_OK);
  EXPECT_EQ(TVN_putdouparam(task, TVN_DPAR_SIM_LU_TOL_REL_PIV, 1e-7), TVN_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(TVN_putdouparam(task, TVN_DPAR_SIM_LU_TOL_REL_PIV, 1.0), TVN_RES_ERR_PARAM_IS_TOO_LARGE);
  EXPECT_EQ(TVN_putdouparam(task, TVN_DPAR_SIM_LU_TOL_REL_PIV, NAN), TVN_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(real(TVN_DPAR_SIM_LU_TOL_REL_PIV), 0.01) << "a refused value leaves the old one";
  EXPECT_EQ(TVN_putdouparam(task, TVN_DPAR_SIM_LU_TOL_REL_PIV, 0.5), TVN_RES_OK);
  EXPECT_EQ(real(TVN_DPAR_SIM_LU_TOL_REL_PIV), 0.5);
}

TEST_F(Param, StringsLoseTheirQuotesAndAreCutToTheBuffer) {
  TVN_putstrparam(task, TVN_SPAR_DATA_FILE_NAME, "\"a \\\"b\\\" c\" rest");
  EXPECT_EQ(string(TVN_SPAR_DATA_FILE_NAME), "a \"b\" c");
  TVN_putstrparam(task, TVN_SPAR_DATA_FILE_NAME, "plain \"text\"");
  EXPECT_EQ(string(TVN_SPAR_DATA_FILE_NAME), "plain \"text\"");
  char small[6];
  int32_t len = 0;
  EXPECT_EQ(TVN_getstrparam(task, TVN_SPAR_DATA_FILE_NAME, sizeof small, &len, small), TVN_RES_WRN_SPAR_MAX_LEN);
  EXPECT_STREQ(small, "plain");
  EXPECT_EQ(len, 12);
  char* al = nullptr;
  ASSERT_EQ(TVN_getstrparamal(task, TVN_SPAR_DATA_FILE_NAME, 3, &al), TVN_RES_OK);
  EXPECT_STREQ(std::strcat(al, "abc"), "plain \"text\"abc");
  TVN_freetask(task, al);
  TVN_putstrparam(task, TVN_SPAR_DATA_FILE_NAME, nullptr);
  EXPECT_EQ(string(TVN_SPAR_DATA_FILE_NAME), "");
}

TEST_F(Param, TextSetsParametersOfEveryType) {
  EXPECT_EQ(TVN_putparam(task, "  TVN_IPAR_OPTIMIZER ", "TVN_OPTIMIZER_DUAL_SIMPLEX"), TVN_RES_OK);
  EXPECT_EQ(integer(TVN_IPAR_OPTIMIZER), TVN_OPTIMIZER_DUAL_SIMPLEX);
  EXPECT_EQ(TVN_putparam(task, "TVN_IPAR_OPTIMIZER", " 4 "), TVN_RES_OK);
  EXPECT_EQ(integer(TVN_IPAR_OPTIMIZER), TVN_OPTIMIZER_PRIMAL_SIMPLEX);
  EXPECT_EQ(TVN_putparam(task, "TVN_DPAR_OPTIMIZER_MAX_TIME", "1.5e2"), TVN_RES_OK);
  EXPECT_EQ(real(TVN_DPAR_OPTIMIZER_MAX_TIME), 150.0);
  EXPECT_EQ(TVN_putparam(task, "TVN_SPAR_STAT_KEY", " k "), TVN_RES_OK);
  EXPECT_EQ(string(TVN_SPAR_STAT_KEY), " k ");
  EXPECT_EQ(TVN_putparam(task, "TVN_IPAR_OPTIMIZERS", "1"), TVN_RES_ERR_PARAM_NAME);
  EXPECT_EQ(TVN_putparam(task, "TVN_IPAR_OPTIMIZER", "TVN_OPTIMIZER_BEST"), TVN_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(TVN_putparam(task, "TVN_IPAR_OPTIMIZER", "1.0"), TVN_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(TVN_putparam(task, "TVN_DPAR_OPTIMIZER_MAX_TIME", "inf"), TVN_RES_ERR_PARAM_VALUE_STR);
  EXPECT_EQ(TVN_putparam(task, "TVN_IPAR_OPTIMIZER", "99"), TVN_RES_ERR_PARAM_IS_TOO_LARGE);
}

TEST_F(Param, NamesLeadToTypeAndIndexAndBack) {
  int32_t max = 0, partype = 0, param = 0;
  for (const int32_t type : {TVN_PAR_DOU_TYPE, TVN_PAR_INT_TYPE, TVN_PAR_STR_TYPE}) {
    ASSERT_EQ(TVN_getparammax(task, type, &max), TVN_RES_OK);
    for (int32_t k = 0; k < max; k++) {
      char name[128];
      ASSERT_EQ(TVN_getparamname(task, type, k, name), TVN_RES_OK);
      ASSERT_EQ(TVN_whichparam(task, name, &partype, &param), TVN_RES_OK);
      EXPECT_EQ(partype, type);
      EXPECT_EQ(param, k);
    }
    char name[128];
    EXPECT_EQ(TVN_getparamname(task, type, max, name), TVN_RES_ERR_PARAM_INDEX);
  }
  EXPECT_EQ(TVN_getparammax(task, 7, &max), TVN_RES_ERR_PARAM_TYPE);
  EXPECT_EQ(max, -1);
  EXPECT_EQ(TVN_getnumparam(task, TVN_PAR_INT_TYPE, &max), TVN_RES_OK);
  EXPECT_EQ(max, 67);
  TVN_whichparam(task, "tvn_ipar_log", &partype, &param);
  EXPECT_EQ(partype, TVN_PAR_INVALID_TYPE);
  EXPECT_EQ(TVN_isintparname(task, "TVN_DPAR_BASIS_TOL_X", &param), TVN_RES_OK);
  EXPECT_EQ(param, 202);
}

TEST_F(Param, AccessByNameKeepsItsTwoAsymmetries) {
  double d = 0;
  int32_t k = 0;
  EXPECT_EQ(TVN_putnaintparam(task, "TVN_IPAR_LOG", -1), TVN_RES_ERR_PARAM_IS_TOO_SMALL);
  EXPECT_EQ(TVN_putnadouparam(task, "TVN_DPAR_BASIS_TOL_X", -1), TVN_RES_OK) << "reported, not passed on";
  EXPECT_NE(errors.find("too small for parameter 'TVN_DPAR_BASIS_TOL_X'"), std::string::npos);
  EXPECT_EQ(TVN_putnaintparam(task, "X", 1), TVN_RES_ERR_PARAM_NAME_INT);
  EXPECT_EQ(TVN_putnadouparam(task, "X", 1), TVN_RES_ERR_PARAM_NAME_DOU);
  EXPECT_EQ(TVN_putnastrparam(task, "X", "1"), TVN_RES_ERR_PARAM_NAME_STR);
  EXPECT_EQ(TVN_getnaintparam(task, "X", &k), TVN_RES_ERR_PARAM_NAME_INT);
  EXPECT_EQ(TVN_getnadouparam(task, "X", &d), TVN_RES_ERR_PARAM_INDEX);
}

TEST_F(Param, AFileOfAllParametersReadsBackTheSame) {
  TVN_putintparam(task, TVN_IPAR_SIM_DEGEN, TVN_SIM_DEGEN_MODERATE);
  TVN_putdouparam(task, TVN_DPAR_BASIS_TOL_X, 1.25e-7);
  TVN_putstrparam(task, TVN_SPAR_STAT_NAME, "some name");
  ASSERT_EQ(TVN_writeparamfile(task, path.c_str()), TVN_RES_OK);
  std::ifstream in(path);
  const std::string text((std::istreambuf_iterator<char>(in)), {});
  EXPECT_TRUE(text.starts_with("BEGIN TOVAN\n\nTVN_IPAR_ALLOC_ADD_QNZ                           5000              \n"));
  EXPECT_NE(text.find("\nTVN_DPAR_BASIS_TOL_X                             1.25000000e-07    \n"), std::string::npos);
  EXPECT_NE(text.find("\nTVN_SPAR_STAT_NAME                               some name\n"), std::string::npos);
  EXPECT_TRUE(text.ends_with("\n\nEND TOVAN\n"));
  TVN_setdefaults(task);
  ASSERT_EQ(read_file("text before\n" + text + "text behind\n"), TVN_RES_OK) << errors;
  EXPECT_EQ(integer(TVN_IPAR_SIM_DEGEN), TVN_SIM_DEGEN_MODERATE);
  EXPECT_EQ(real(TVN_DPAR_BASIS_TOL_X), 1.25e-7);
  EXPECT_EQ(string(TVN_SPAR_STAT_NAME), "some name");
}

TEST_F(Param, FilesMayHaveCommentsSymbolsAndNoMarks) {
  ASSERT_EQ(read_file("% a comment\n\n  TVN_IPAR_OPTIMIZER\tTVN_OPTIMIZER_CONIC % more\nTVN_DPAR_BASIS_TOL_S 1e-5\r\n"
                      "TVN_SPAR_STAT_KEY two words\nTVN_IPAR_LOG 3"),
            TVN_RES_OK)
      << errors;
  EXPECT_EQ(integer(TVN_IPAR_OPTIMIZER), TVN_OPTIMIZER_CONIC);
  EXPECT_EQ(real(TVN_DPAR_BASIS_TOL_S), 1e-5);
  EXPECT_EQ(string(TVN_SPAR_STAT_KEY), "two words");
  EXPECT_EQ(integer(TVN_IPAR_LOG), 3);
}

TEST_F(Param, ABadLineStopsTheFileUnlessErrorsAreIgnored) {
  const std::string text = "TVN_IPAR_LOG 3\ntvn_ipar_sim_degen 2\nTVN_IPAR_LOG_SIM 7\n";
  EXPECT_EQ(read_file(text), TVN_RES_ERR_PARAM_NAME);
  EXPECT_NE(messages.find("The error occured in line:\ntvn_ipar_sim_degen 2\n"), std::string::npos) << messages;
  EXPECT_EQ(integer(TVN_IPAR_LOG), 3);
  EXPECT_EQ(integer(TVN_IPAR_LOG_SIM), 4);
  TVN_putintparam(task, TVN_IPAR_PARAM_READ_IGN_ERROR, TVN_ON);
  EXPECT_EQ(read_file(text), TVN_RES_OK);
  EXPECT_EQ(integer(TVN_IPAR_LOG_SIM), 7);
  TVN_putintparam(task, TVN_IPAR_PARAM_READ_IGN_ERROR, TVN_OFF);
  TVN_putintparam(task, TVN_IPAR_PARAM_READ_CASE_NAME, TVN_OFF);
  EXPECT_EQ(read_file(text), TVN_RES_OK) << "names are folded to upper case";
  EXPECT_EQ(integer(TVN_IPAR_SIM_DEGEN), 2);
  TVN_putstrparam(task, TVN_SPAR_PARAM_READ_FILE_NAME, "/nowhere/file");
  EXPECT_EQ(TVN_readparamfile(task), TVN_RES_WRN_OPEN_PARAM_FILE);
  EXPECT_EQ(TVN_writeparamfile(task, "/nowhere/file"), TVN_RES_ERR_FILE_OPEN);
  EXPECT_EQ(TVN_writeparamfile(task, ""), TVN_RES_ERR_INVALID_FILE_NAME);
}

TEST_F(Param, TheListingHasAllParametersWithTheirLimits) {
  messages.clear();
  TVN_printparam(task);
  EXPECT_EQ(std::count(messages.begin(), messages.end(), '\n'), 202 + 67 + 25 + 5);
  EXPECT_NE(messages.find("0   TVN_IPAR_ALLOC_ADD_QNZ                          : 5000                 0"
                          "                    NONE              \n"),
            std::string::npos)
      << messages.substr(0, 300);
}

TEST_F(Param, ItemsAreReachedByIndexAndName) {
  int32_t index = 0, max = 0;
  double d = -1;
  char name[128];
  const int32_t sizes[] = {62, 98, 14};
  for (int32_t type = 0; type < 3; type++) {
    ASSERT_EQ(TVN_getinfmax(task, type, &max), TVN_RES_OK);
    EXPECT_EQ(max, sizes[type]);
    for (int32_t k = 0; k < max; k++) {
      ASSERT_EQ(TVN_getinfname(task, type, k, name), TVN_RES_OK);
      EXPECT_EQ(TVN_getinfindex(task, type, name, &index), TVN_RES_OK);
      EXPECT_EQ(index, k);
    }
  }
  EXPECT_EQ(TVN_getinfindex(task, TVN_INF_LINT_TYPE, "TVN_IINF_RD_NUMCON", &index), TVN_RES_ERR_INF_LINT_NAME);
  EXPECT_EQ(TVN_getinfmax(task, 3, &max), TVN_RES_ERR_INF_TYPE);
  EXPECT_EQ(TVN_getdouinf(task, 62, &d), TVN_RES_ERR_INF_DOU_INDEX);
  EXPECT_EQ(TVN_getintinf(task, -1, &index), TVN_RES_ERR_INF_INT_INDEX);
  EXPECT_EQ(TVN_getnadouinf(task, "TVN_DINF_SIM_OBJ", &d), TVN_RES_OK);
  EXPECT_EQ(d, 0.0);
  EXPECT_EQ(TVN_getnaintinf(task, "TVN_DINF_SIM_OBJ", &index), TVN_RES_ERR_INF_INT_NAME);
}

TEST_F(Param, CodesAndConstantsHaveTheirWords) {
  char name[TVN_MAX_STR_LEN], text[TVN_MAX_STR_LEN];
  int32_t k = -1;
  const auto class_of = [&](TVNrescodee code) {
    EXPECT_EQ(TVN_getresponseclass(code, &k), TVN_RES_OK);
    return k;
  };
  EXPECT_EQ(class_of(0), TVN_RESPONSE_OK);
  EXPECT_EQ(class_of(999), TVN_RESPONSE_WRN);
  EXPECT_EQ(class_of(1000), TVN_RESPONSE_ERR);
  EXPECT_EQ(class_of(3999), TVN_RESPONSE_ERR);
  EXPECT_EQ(class_of(4000), TVN_RESPONSE_TRM);
  EXPECT_EQ(TVN_getcodedesc(TVN_RES_ERR_PARAM_TYPE, name, text), TVN_RES_OK);
  EXPECT_STREQ(name, "TVN_RES_ERR_PARAM_TYPE");
  EXPECT_STREQ(text, "A parameter type is invalid.");
  EXPECT_EQ(TVN_getcodedisc(1234567, name, nullptr), TVN_RES_OK);
  EXPECT_STREQ(name, "");
  EXPECT_EQ(TVN_symnamtovalue("TVN_ON", text), 1);
  EXPECT_STREQ(text, "1");
  EXPECT_EQ(TVN_symnamtovalue("TVN_IPAR_LOG_XYZ", text), 0);
  EXPECT_STREQ(text, "");
  TVN_iparvaltosymnam(env, TVN_IPAR_PRESOLVE_USE, 2, text);
  EXPECT_STREQ(text, "TVN_PRESOLVE_MODE_FREE");
  TVN_iparvaltostr(env, TVN_IPAR_INTPNT_BASIS, 0, text);
  EXPECT_STREQ(text, "NEVER");
  TVN_iparvaltosymnam(env, TVN_IPAR_LOG, 1, text);
  EXPECT_STREQ(text, "");
  EXPECT_EQ(TVN_strtosk(task, "UL", &k), TVN_RES_OK);
  EXPECT_EQ(k, TVN_SK_UPR);
  EXPECT_EQ(TVN_sktostr(task, 7, text), TVN_RES_ERR_INV_SK);
  EXPECT_EQ(TVN_sktostr(task, -1, text), TVN_RES_ERR_INV_SK);
  EXPECT_EQ(TVN_strtosk(task, "ul", &k), TVN_RES_ERR_INV_SK_STR);
  TVN_prostatostr(task, 12, text);
  EXPECT_STREQ(text, "INVALID CODE(12)");
  TVN_solstatostr(task, 7, text);
  EXPECT_STREQ(text, "INVALID code(7)");
  EXPECT_EQ(TVN_strtoconetype(task, "TVN_CT_RQUAD", &k), TVN_RES_OK);
  EXPECT_EQ(k, TVN_CT_RQUAD);
  EXPECT_EQ(TVN_getboundkeyname(TVN_BK_RA, text), 1);
  EXPECT_STREQ(text, "TVN_BK_RA");
  EXPECT_EQ(TVN_boundkeynametovalue("TVN_BK_RA", &k), 1);
  EXPECT_EQ(k, TVN_BK_RA);
  EXPECT_EQ(TVN_boundkeynametovalue("TVN_SK_LOW", &k), 0) << "of another family";
  EXPECT_EQ(TVN_getlanguagename(2, text), 0);
  EXPECT_STREQ(text, "");
  char cut[5];
  TVN_optimizertostr(TVN_OPTIMIZER_CONIC, sizeof cut, cut);
  EXPECT_STREQ(cut, "coni");
}

TEST_F(Param, AllConstantsCanBeListed) {
  int32_t num = 0, value = 0;
  size_t maxlen = 0;
  ASSERT_EQ(TVN_getsymbcondim(env, &num, &maxlen), TVN_RES_OK);
  std::string name(maxlen + 1, '\0');
  size_t longest = 0;
  for (int32_t i = 0; i < num; i++) {
    char text[16];
    ASSERT_EQ(TVN_getsymbcon(task, i, static_cast<int32_t>(name.size()), name.data(), &value), TVN_RES_OK);
    ASSERT_EQ(TVN_symnamtovalue(name.c_str(), text), 1) << name;
    EXPECT_EQ(std::atoi(text), value) << name;
    longest = std::max(longest, std::strlen(name.c_str()));
  }
  EXPECT_EQ(longest, maxlen);
  EXPECT_EQ(TVN_getsymbcon(task, num, 10, name.data(), &value), TVN_RES_ERR_INDEX_IS_TOO_LARGE);
  EXPECT_EQ(TVN_getsymbcon(task, -1, 10, name.data(), &value), TVN_RES_ERR_INDEX_IS_TOO_SMALL);
}
