// If these fail, a constant of the header means another parameter, item or code inside the library.
#include "tovan/tables/infitems.h"
#include "tovan/tables/paramtables.h"
#include "tovan/tables/rescode.h"
#include "tovan/tables/symcon.h"

#include <gtest/gtest.h>
#include <map>
#include <memory>
#include <set>
#include <string>

using namespace tvn;

namespace {

struct Tables : ::testing::Test {
  sysenv* sys = TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  std::unique_ptr<param_tables> t = std::make_unique<param_tables>();
  Tables() { make_param_tables(*t, *sys); }
  ~Tables() override {
    t.reset();
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
  }
};

int32_t count_family(std::string_view family) {
  int32_t n = 0;
  for (const symcon_entry& e : all_symcons()) n += e.family == family;
  return n;
}

} // namespace

TEST_F(Tables, FamiliesHaveTheirSizes) {
  EXPECT_EQ(count_family("iparam"), 202);
  EXPECT_EQ(count_family("dparam"), 67);
  EXPECT_EQ(count_family("sparam"), 25);
  EXPECT_EQ(count_family("dinf_item"), 62);
  EXPECT_EQ(count_family("iinf_item"), 98);
  EXPECT_EQ(count_family("liinf_item"), 14);
  EXPECT_EQ(count_family("rescode"), 1 + 313);
  EXPECT_EQ(TVNP_DINF_SIM_PRIMAL_OBJ + 1, 51);
  EXPECT_EQ(TVNP_IINF_SIM_PRIMAL_TRUST + 1, 108);
  EXPECT_EQ(TVNP_LIINF_SIM_ITER + 1, 3);
}

TEST_F(Tables, EveryParameterIsFoundByItsNameAndStartsInsideItsRule) {
  for (int32_t k = 0; k < num_iparam; k++) {
    const auto i = static_cast<size_t>(k);
    EXPECT_EQ(find_iparam(*t, t->iname[i].data()), k) << t->iname[i].data();
    EXPECT_TRUE(is_valid_param(t->ikind[i], t->idef[i], t->imin[i], t->imax[i])) << t->iname[i].data();
  }
  for (int32_t k = 0; k < num_dparam; k++) {
    const auto i = static_cast<size_t>(k);
    EXPECT_EQ(find_dparam(*t, t->dname[i].data()), k) << t->dname[i].data();
    EXPECT_TRUE(is_valid_param(t->dkind[i], t->ddef[i], t->dmin[i], t->dmax[i])) << t->dname[i].data();
  }
  for (int32_t k = 0; k < num_sparam; k++) EXPECT_EQ(find_sparam(*t, t->sname[static_cast<size_t>(k)].data()), k);
  EXPECT_EQ(find_iparam(*t, "TVN_IPAR_optimizer"), num_iparam);
  EXPECT_EQ(find_iparam(*t, ""), num_iparam);
  EXPECT_EQ(find_dparam(*t, "TVN_DPAR_ZZZ"), num_dparam);
}

TEST_F(Tables, DefaultsAreCopiedWithTheirStrings) {
  auto v = std::make_unique<param_values>();
  attach_param_values(*v, *sys);
  set_param_defaults(*v, *t);
  EXPECT_EQ(v->ival[TVN_IPAR_LOG], 10);
  EXPECT_STREQ(v->sval[TVN_SPAR_FEASREPAIR_NAME_PREFIX].c_str(), "TVN-");
}

TEST(SymbolicConstants, NamesAreUniqueAndSymbolicDefaultsHaveAName) {
  std::set<std::string_view> names;
  for (const symcon_entry& e : all_symcons()) {
    EXPECT_TRUE(names.insert(e.name).second) << e.name;
    EXPECT_TRUE(e.name.starts_with("TVN_") && e.name.ends_with(e.symbol) && !e.symbol.empty()) << e.name;
    EXPECT_LT(e.name.size(), 128u);
  }
  sysenv* sys = TVN_sysenv_make(0, nullptr, nullptr, nullptr);
  auto t = std::make_unique<param_tables>();
  make_param_tables(*t, *sys);
  for (int32_t k = 0; k < num_iparam; k++) {
    const auto i = static_cast<size_t>(k);
    if (iparam_family(k) == "none") continue;
    for (int32_t value = t->imin[i]; value <= t->imax[i]; value++)
      EXPECT_NE(find_symcon(iparam_family(k), value), nullptr) << t->iname[i].data() << " = " << value;
  }
  t.reset();
  TVN_sysenv_delete(&sys);
}

TEST(ResponseCodes, EveryCodeHasATemplateAndAnotherSentenceWithoutConversions) {
  std::map<std::string, int32_t> descriptions;
  char text[1024];
  int32_t count = 0;
  for (const symcon_entry& e : all_symcons()) {
    if (e.family != "rescode" || e.value == 0) continue;
    count++;
    const rescode_entry* code = find_rescode(e.value);
    ASSERT_NE(code, nullptr) << e.name;
    EXPECT_EQ(find_rescode(code->name), code);
    EXPECT_EQ(e.name, code->name);
    TVN_getresmes(e.value, text);
    EXPECT_STREQ(text, code->text);
    const std::string description = code->description;
    EXPECT_STRNE(code->text, code->description);
    EXPECT_GT(description.size(), 15u) << e.name;
    EXPECT_EQ(description.back(), '.') << e.name;
    EXPECT_EQ(description.find('%'), std::string::npos) << e.name;
    EXPECT_EQ(descriptions[description]++, 0) << e.name << " shares a description";
  }
  EXPECT_EQ(count, 313);
  for (const int32_t unknown : {0, -1, 999, 1234567}) {
    TVN_getresmes(unknown, text);
    EXPECT_STREQ(text, "No message for this code.") << unknown;
  }
  EXPECT_EQ(TVN_getresmes(1051, nullptr), TVN_RES_OK);
}
