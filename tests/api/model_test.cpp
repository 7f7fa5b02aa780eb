// If this fails, some order of calls leaves a task whose parts do not belong together, or a solution that claims more
// than is known of it.
//
// Random calls of all kinds, faulty ones among them, go to a task and to a plain model; after each step all that the
// interface shows of the task is compared, by the readers of both widths in turn, and at the end with a clone.
// A failing sequence prints its seed; TOVAN_SEED runs one from there on.
#include "api/taskmodel.h"

#include <gtest/gtest.h>

#include <cstdlib>
#include <numeric>
#include <random>

namespace {

using namespace apitest;
using quad_map = std::map<std::pair<int32_t, int32_t>, double>;

// All that can be seen, in one order.
struct picture {
  std::vector<std::pair<const char*, double>> numbers;
  std::vector<std::string> names;

  void add(const char* what, double v) { numbers.emplace_back(what, v); }
  template <class V> void add_all(const char* what, const V& values) {
    for (const auto v : values) add(what, static_cast<double>(v));
  }
  std::string difference(const picture& other) const {
    for (size_t k = 0; k < std::min(numbers.size(), other.numbers.size()); k++)
      if (std::string(numbers[k].first) != other.numbers[k].first || !(numbers[k].second == other.numbers[k].second))
        return std::string(numbers[k].first) + " number " + std::to_string(k) + ": " +
               std::to_string(numbers[k].second) + " and " + std::to_string(other.numbers[k].second);
    if (numbers.size() != other.numbers.size()) return "length";
    return names == other.names ? "" : "names";
  }
};

void add_quadratic(picture& p, const quad_map& q) {
  p.add("q terms", static_cast<double>(q.size()));
  for (const auto& [ij, v] : q) p.add_all("q", std::vector<double>{double(ij.first), double(ij.second), v});
}

picture picture_of(const task_model& m, bool statuses) {
  picture p;
  p.add_all("sizes", std::vector<int32_t>{len(m.var), len(m.con), len(m.cone), m.maxvar, m.maxcon, m.sense});
  p.add("cfix", m.cfix);
  int32_t numint = 0;
  for (const auto* items : {&m.var, &m.con})
    for (const model_item& k : *items) {
      p.add_all("bound", std::vector<double>{double(k.b.bk), k.b.bl, k.b.bu});
      if (items == &m.var)
        p.add_all("variable", std::vector<double>{k.c, double(k.type), double(k.pri), double(k.dir)});
      numint += k.type;
      p.names.push_back(k.name);
    }
  p.add("integers", numint);
  p.add("elements", static_cast<double>(m.a.size()));
  for (const auto& [ij, v] : m.a) p.add_all("a", std::vector<double>{double(ij.first), double(ij.second), v});
  add_quadratic(p, m.qobj);
  for (const model_item& k : m.con) add_quadratic(p, k.q);
  for (const model_cone& k : m.cone) {
    p.add_all("cone", std::vector<double>{double(k.type), k.par, double(k.members.size())});
    p.add_all("members", k.members);
    p.names.push_back(k.name);
  }
  p.names.push_back(m.objname);
  for (int32_t w = 0; w < 3; w++) {
    const model_slot& s = on(m.slot, w);
    p.add("defined", s.defined);
    if (!s.defined) continue;
    p.add_all("status", std::vector<int32_t>{statuses ? s.prosta : 0, statuses ? s.solsta : 0});
    const bool dual = w != TVN_SOL_ITG;
    for (const model_item& k : m.con) {
      const model_entry& e = on(k.sol, w);
      p.add_all("constraint entry",
                std::vector<double>{double(e.sk), e.x, dual ? e.y : 0, dual ? e.sl : 0, dual ? e.su : 0});
    }
    for (const model_item& k : m.var) {
      const model_entry& e = on(k.sol, w);
      p.add_all("variable entry",
                std::vector<double>{double(e.sk), e.x, dual ? e.sl : 0, dual ? e.su : 0, w == TVN_SOL_ITR ? e.sn : 0});
    }
    if (w == TVN_SOL_ITR)
      for (const model_cone& k : m.cone) p.add("cone key", k.sk);
  }
  return p;
}

struct Model : testing::Test {
  TVNenv_t env = nullptr;
  TVNtask_t task = nullptr;
  task_model m;
  std::mt19937 rng;
  bool wide = false; // which width the next call uses
  std::string last;  // the call before

  void SetUp() override {
    ASSERT_EQ(TVN_makeenv(&env, nullptr, nullptr, nullptr, nullptr), TVN_RES_OK);
    ASSERT_EQ(TVN_initenv(env), TVN_RES_OK);
  }
  void TearDown() override { EXPECT_EQ(TVN_deleteenv(&env), TVN_RES_OK); }

  int32_t draw(int32_t n) { return static_cast<int32_t>(rng() % static_cast<uint32_t>(n)); }
  double number() { return 0.5 * (draw(13) - 6); }
  int32_t mode() { return draw(2) ? TVN_ACC_CON : TVN_ACC_VAR; }
  int32_t any(int32_t accmode) { return draw(len(m.side(accmode))); }
  bool empty(int32_t accmode) { return m.side(accmode).empty(); }
  void expect(TVNrescodee got, TVNrescodee want, const char* call) {
    last = call;
    if (got != want) ADD_FAILURE() << call << " gave " << got << ", not " << want;
  }
  std::vector<int32_t> some(int32_t count, int32_t most) { // indices, some repeated
    std::vector<int32_t> s(count ? static_cast<size_t>(draw(most + 1)) : 0);
    for (int32_t& i : s) i = draw(count);
    return s;
  }

  picture seen(TVNtask_t t, bool statuses);
  void add_seen_a(TVNtask_t t, picture& p, int32_t numcon, int32_t numvar);
  void add_seen_q(TVNtask_t t, picture& p, int32_t k);
  void add_seen_slot(TVNtask_t t, picture& p, int32_t w, int32_t numcon, int32_t numvar, int32_t numcone,
                     bool statuses);

  void size_step();
  void bound_step();
  void cost_step();
  void vector_step();
  void element_step();
  void list_step();
  void remove_step();
  void permute_step();
  void name_step();
  void quadratic_step();
  void cone_step();
  void type_step();
  void solution_step();
  void entry_step();
  void input_step();
  void faulty_step();
  void sequence(uint32_t seed, int32_t steps);
};

void Model::add_seen_a(TVNtask_t t, picture& p, int32_t numcon, int32_t numvar) {
  const int32_t accmode = mode(), count = accmode == TVN_ACC_CON ? numcon : numvar;
  int64_t numnz = -1;
  EXPECT_EQ(TVN_getaslicenumnz64(t, accmode, 0, count, &numnz), TVN_RES_OK);
  p.add("elements", static_cast<double>(numnz));
  const auto n = static_cast<size_t>(numnz), c = static_cast<size_t>(count);
  std::vector<int32_t> sub(n), other(n), b(c), e(c);
  std::vector<int64_t> wb(c), we(c);
  std::vector<double> val(n);
  quad_map a;
  int32_t surp = static_cast<int32_t>(numnz);
  if (draw(3) == 0) {
    EXPECT_EQ(TVN_getaslicetrip(t, accmode, 0, count, surp, &surp, sub.data(), other.data(), val.data()), TVN_RES_OK);
    for (size_t k = 0; k < n; k++) a[{sub[k], other[k]}] = val[k];
  } else {
    if (wide) {
      EXPECT_EQ(TVN_getaslice64(t, accmode, 0, count, numnz, &numnz, wb.data(), we.data(), sub.data(), val.data()),
                TVN_RES_OK);
    } else {
      EXPECT_EQ(TVN_getaslice(t, accmode, 0, count, surp, &surp, b.data(), e.data(), sub.data(), val.data()),
                TVN_RES_OK);
      wb.assign(b.begin(), b.end());
      we.assign(e.begin(), e.end());
    }
    for (int32_t k = 0; k < count; k++)
      for (int64_t q = on(wb, k); q < on(we, k); q++) {
        const int32_t s = sub[static_cast<size_t>(q)];
        a[accmode == TVN_ACC_CON ? std::pair{k, s} : std::pair{s, k}] = val[static_cast<size_t>(q)];
      }
  }
  for (const auto& [ij, v] : a) p.add_all("a", std::vector<double>{double(ij.first), double(ij.second), v});
}

void Model::add_seen_q(TVNtask_t t, picture& p, int32_t k) { // -1: the objective
  std::array<int32_t, 64> i{}, j{};
  std::array<double, 64> v{};
  int64_t surp = 64, num = 0;
  int32_t surp32 = 64, num32 = 0;
  if (wide)
    EXPECT_EQ(k < 0 ? TVN_getqobj64(t, 64, &surp, &num, i.data(), j.data(), v.data())
                    : TVN_getqconk64(t, k, 64, &surp, &num, i.data(), j.data(), v.data()),
              TVN_RES_OK);
  else {
    EXPECT_EQ(k < 0 ? TVN_getqobj(t, 64, &surp32, &num32, i.data(), j.data(), v.data())
                    : TVN_getqconk(t, k, 64, &surp32, &num32, i.data(), j.data(), v.data()),
              TVN_RES_OK);
    num = num32;
  }
  quad_map q;
  for (size_t s = 0; s < static_cast<size_t>(num); s++) q[{i[s], j[s]}] = v[s];
  add_quadratic(p, q);
}

void Model::add_seen_slot(TVNtask_t t, picture& p, int32_t w, int32_t numcon, int32_t numvar, int32_t numcone,
                          bool statuses) {
  int32_t defined = -1, prosta = 0, solsta = 0;
  EXPECT_EQ(TVN_solutiondef(t, w, &defined), TVN_RES_OK);
  p.add("defined", defined);
  if (!defined) return;
  std::array<int32_t, 64> skc{}, skx{}, skn{};
  std::array<std::array<double, 64>, 8> v{};
  EXPECT_EQ(TVN_getsolution(t, w, &prosta, &solsta, skc.data(), skx.data(), skn.data(), v[0].data(), v[1].data(),
                            v[2].data(), v[3].data(), v[4].data(), v[5].data(), v[6].data(), v[7].data()),
            TVN_RES_OK);
  p.add_all("status", std::vector<int32_t>{statuses ? prosta : 0, statuses ? solsta : 0});
  for (int32_t i = 0; i < numcon; i++)
    p.add_all("constraint entry",
              std::vector<double>{double(on(skc, i)), on(v[0], i), on(v[2], i), on(v[3], i), on(v[4], i)});
  for (int32_t j = 0; j < numvar; j++)
    p.add_all("variable entry",
              std::vector<double>{double(on(skx, j)), on(v[1], j), on(v[5], j), on(v[6], j), on(v[7], j)});
  if (w == TVN_SOL_ITR)
    for (int32_t k = 0; k < numcone; k++) p.add("cone key", on(skn, k));
}

picture Model::seen(TVNtask_t t, bool statuses) {
  picture p;
  std::array<int32_t, 6> sizes{};
  const auto getters = {TVN_getnumvar,    TVN_getnumcon,    TVN_getnumcone,
                        TVN_getmaxnumvar, TVN_getmaxnumcon, TVN_getobjsense};
  size_t at = 0;
  for (const auto get : getters) EXPECT_EQ(get(t, &sizes[at++]), TVN_RES_OK);
  p.add_all("sizes", sizes);
  const int32_t numvar = sizes[0], numcon = sizes[1], numcone = sizes[2];
  std::array<double, 64> c{}, bl{}, bu{};
  std::array<int32_t, 64> bk{}, all{}, type{};
  std::iota(all.begin(), all.end(), 0);
  char name[64];
  EXPECT_EQ(TVN_getcfix(t, &c[0]), TVN_RES_OK);
  p.add("cfix", c[0]);
  EXPECT_EQ(TVN_getc(t, c.data()), TVN_RES_OK);
  EXPECT_EQ(TVN_getvartypelist(t, numvar, all.data(), type.data()), TVN_RES_OK);
  for (const int32_t accmode : {TVN_ACC_VAR, TVN_ACC_CON}) {
    const int32_t count = accmode == TVN_ACC_VAR ? numvar : numcon;
    EXPECT_EQ(TVN_getboundslice(t, accmode, 0, count, bk.data(), bl.data(), bu.data()), TVN_RES_OK);
    for (int32_t i = 0; i < count; i++) {
      p.add_all("bound", std::vector<double>{double(on(bk, i)), on(bl, i), on(bu, i)});
      int32_t pri = 0, dir = 0;
      if (accmode == TVN_ACC_VAR) {
        EXPECT_EQ(TVN_getvarbranchorder(t, i, &pri, &dir), TVN_RES_OK);
        p.add_all("variable", std::vector<double>{on(c, i), double(on(type, i)), double(pri), double(dir)});
      }
      EXPECT_EQ(TVN_getname(t, accmode, i, sizeof name, nullptr, name), TVN_RES_OK);
      p.names.emplace_back(name);
      int32_t found = -1;
      if (i > 0) continue;
      EXPECT_EQ(TVN_getnameindex(t, accmode, name, nullptr, &found), TVN_RES_OK);
      EXPECT_EQ(found, *name ? 0 : -1) << name;
    }
  }
  int32_t numint = -1;
  EXPECT_EQ(TVN_getnumintvar(t, &numint), TVN_RES_OK);
  p.add("integers", numint);
  add_seen_a(t, p, numcon, numvar);
  for (int32_t k = -1; k < numcon; k++) add_seen_q(t, p, k);
  for (int32_t k = 0; k < numcone; k++) {
    int32_t ct = -1, num = 0;
    double par = 0;
    EXPECT_EQ(TVN_getcone(t, k, &ct, &par, &num, bk.data()), TVN_RES_OK);
    p.add_all("cone", std::vector<double>{double(ct), par, double(num)});
    p.add_all("members", std::vector<int32_t>(bk.begin(), bk.begin() + num));
    EXPECT_EQ(TVN_getname(t, TVN_PI_CONE, k, sizeof name, nullptr, name), TVN_RES_OK);
    p.names.emplace_back(name);
  }
  EXPECT_EQ(TVN_getobjname(t, sizeof name, nullptr, name), TVN_RES_OK);
  p.names.emplace_back(name);
  for (int32_t w = 0; w < 3; w++) add_seen_slot(t, p, w, numcon, numvar, numcone, statuses);
  return p;
}

void Model::size_step() {
  const int32_t accmode = mode();
  if (draw(2) && len(m.side(accmode)) < 9) {
    const int32_t num = draw(3);
    expect(TVN_append(task, accmode, num), TVN_RES_OK, "append");
    if (num) m.append(accmode, num);
    return;
  }
  const int32_t n = std::max(1, len(m.side(accmode)) + draw(6));
  if (draw(2))
    expect(wide ? TVN_putmaxnumanz64(task, 300 + draw(100)) : TVN_putmaxnumanz(task, 300 + draw(100)), TVN_RES_OK,
           "putmaxnumanz");
  if (draw(2))
    expect(wide ? TVN_putmaxnumqnz64(task, 500 + draw(100)) : TVN_putmaxnumqnz(task, 500 + draw(100)), TVN_RES_OK,
           "putmaxnumqnz");
  if (accmode == TVN_ACC_VAR) {
    expect(TVN_putmaxnumvar(task, n), TVN_RES_OK, "putmaxnumvar");
    m.maxvar = n;
    expect(TVN_putmaxnumcone(task, len(m.cone) + draw(4)), TVN_RES_OK, "putmaxnumcone");
  } else {
    expect(TVN_putmaxnumcon(task, n), TVN_RES_OK, "putmaxnumcon");
    m.maxcon = n;
  }
}

void Model::bound_step() {
  const int32_t accmode = mode();
  if (empty(accmode)) return;
  const double values[] = {number(), number(), number(), 1e17, -1e17, -1e30, 1e30, 1e16};
  const double v = values[draw(8)], w = values[draw(8)];
  const int32_t i = any(accmode), bk = draw(5);
  if (draw(3) == 0) {
    const bool lower = draw(2), finite = draw(4);
    expect(TVN_chgbound(task, accmode, i, lower, finite, v), TVN_RES_OK, "chgbound");
    return m.change_bound(accmode, i, lower, finite, v);
  }
  expect(TVN_putbound(task, accmode, i, bk, v, w), TVN_RES_OK, "putbound");
  m.put_bound(accmode, i, bk, v, w);
}

void Model::cost_step() {
  if (draw(5) == 0) {
    const int32_t sense = draw(3);
    const auto inforce = [](int32_t s) { return s ? s : TVN_OBJECTIVE_SENSE_MINIMIZE; };
    expect(TVN_putobjsense(task, sense), TVN_RES_OK, "putobjsense");
    if (inforce(sense) != inforce(m.sense)) m.cost_changed();
    m.sense = sense;
    m.cfix = number();
    return expect(TVN_putcfix(task, m.cfix), TVN_RES_OK, "putcfix");
  }
  const std::vector<int32_t> sub = some(len(m.var), 3);
  std::vector<double> val(sub.size());
  for (double& v : val) v = number();
  expect(TVN_putclist(task, len(sub), sub.data(), val.data()), TVN_RES_OK, "putclist");
  for (int32_t k = 0; k < len(sub); k++) {
    if (on(m.var, on(sub, k)).c != on(val, k)) m.cost_changed();
    on(m.var, on(sub, k)).c = on(val, k);
  }
}

// A whole row or column, with repeated subscripts, and zero and cancelled sums; sometimes with an element that still
// waits.
void Model::vector_step() {
  const int32_t accmode = mode();
  if (empty(TVN_ACC_VAR) || empty(TVN_ACC_CON)) return;
  const bool row = accmode == TVN_ACC_CON;
  const int32_t i = any(accmode);
  const auto place = [&](int32_t other) { return row ? std::pair{i, other} : std::pair{other, i}; };
  const bool waiting = draw(5) == 0;
  if (waiting) {
    const auto [r, c] = place(any(row ? TVN_ACC_VAR : TVN_ACC_CON));
    expect(TVN_putaij(task, r, c, 7.5), TVN_RES_OK, "putaij");
    m.column_changed(c);
    m.a[{r, c}] = 7.5;
  }
  const std::vector<int32_t> sub = some(len(m.side(row ? TVN_ACC_VAR : TVN_ACC_CON)), 6);
  std::vector<double> val(sub.size());
  for (double& v : val) v = number();
  expect(wide ? TVN_putavec64(task, accmode, i, len(sub), sub.data(), val.data())
              : TVN_putavec(task, accmode, i, len(sub), sub.data(), val.data()),
         TVN_RES_OK, "putavec");
  if (!waiting) // a vector behind waiting elements adds to its row or column
    for (auto e = m.a.begin(); e != m.a.end();) e = (row ? e->first.first : e->first.second) == i ? m.a.erase(e) : ++e;
  std::map<int32_t, double> sum;
  for (int32_t k = 0; k < len(sub); k++) sum[on(sub, k)] += on(val, k);
  if (!row) m.column_changed(i);
  for (const auto& [k, v] : sum) {
    if (v == 0) continue;
    if (row) m.column_changed(k);
    m.a[place(k)] = v;
  }
}

void Model::element_step() {
  if (empty(TVN_ACC_VAR) || empty(TVN_ACC_CON)) return;
  std::vector<int32_t> i, j;
  std::vector<double> v;
  for (int32_t k = draw(5); k >= 0; k--) {
    i.push_back(any(TVN_ACC_CON));
    j.push_back(any(TVN_ACC_VAR));
    v.push_back(draw(3) ? number() : 0);
    m.column_changed(j.back());
    if (v.back() == 0)
      m.a.erase({i.back(), j.back()});
    else
      m.a[{i.back(), j.back()}] = v.back();
  }
  expect(TVN_putaijlist(task, len(v), i.data(), j.data(), v.data()), TVN_RES_OK, "putaijlist");
  if (draw(2)) expect(TVN_commitchanges(task), TVN_RES_OK, "commitchanges");
}

// New rows or columns with their vectors, and lists of vectors and bounds.
void Model::list_step() {
  const int32_t accmode = mode(), across = accmode == TVN_ACC_CON ? TVN_ACC_VAR : TVN_ACC_CON;
  if (len(m.side(accmode)) > 7 || empty(across)) return;
  const bool row = accmode == TVN_ACC_CON, fresh = draw(2) || len(m.side(accmode)) < 2;
  const int32_t first = fresh ? len(m.side(accmode)) : draw(len(m.side(accmode)) - 1), other = any(across);
  const std::vector<int32_t> sub{other, (other + 1) % len(m.side(across))}, which{first, first + 1}, b{0, 1}, e{1, 2};
  const std::vector<int64_t> wb{0, 1}, we{1, 2};
  const std::vector<double> val{1.5, -2}, c{3, 4}, bl{-1, 0.5}, bu{2, 0.5};
  const std::vector<int32_t> bk{TVN_BK_RA, TVN_BK_FX};
  if (fresh) {
    expect(row ? TVN_appendcons(task, 2, b.data(), e.data(), sub.data(), val.data(), bk.data(), bl.data(), bu.data())
               : TVN_appendvars(task, 2, c.data(), b.data(), e.data(), sub.data(), val.data(), bk.data(), bl.data(),
                                bu.data()),
           TVN_RES_OK, "appendvars or appendcons");
    m.append(accmode, 2);
    if (!row) m.cost_changed();
    for (int32_t k = 0; k < 2 && !row; k++) on(m.var, first + k).c = on(c, k);
  } else {
    expect(draw(2) ? TVN_putboundslice(task, accmode, first, first + 2, bk.data(), bl.data(), bu.data())
                   : TVN_putboundlist(task, accmode, 2, which.data(), bk.data(), bl.data(), bu.data()),
           TVN_RES_OK, "putboundslice or putboundlist");
  }
  for (int32_t k = 0; k < 2; k++) m.put_bound(accmode, first + k, on(bk, k), on(bl, k), on(bu, k));
  if (!fresh)
    expect(wide ? TVN_putaveclist64(task, accmode, 2, which.data(), wb.data(), we.data(), sub.data(), val.data())
                : TVN_putaveclist(task, accmode, 2, which.data(), b.data(), e.data(), sub.data(), val.data()),
           TVN_RES_OK, "putaveclist");
  for (int32_t k = 0; k < 2; k++) {
    const int32_t i = first + k;
    for (auto q = m.a.begin(); q != m.a.end();) q = (row ? q->first.first : q->first.second) == i ? m.a.erase(q) : ++q;
    m.column_changed(row ? on(sub, k) : i);
    m.a[row ? std::pair{i, on(sub, k)} : std::pair{on(sub, k), i}] = on(val, k);
  }
}

void Model::remove_step() {
  const int32_t accmode = mode();
  const bool isvar = accmode == TVN_ACC_VAR;
  std::vector<int32_t> sub = some(len(m.side(accmode)), 2);
  const bool all = draw(40) == 0;
  if (all) {
    sub.resize(m.side(accmode).size());
    std::iota(sub.begin(), sub.end(), 0);
  }
  const bool refused = isvar && std::any_of(sub.begin(), sub.end(), [&](int32_t j) { return m.heads_cone(j); });
  expect(all ? TVN_removeall(task, isvar ? TVN_PI_VAR : TVN_PI_CON) : TVN_remove(task, accmode, len(sub), sub.data()),
         refused ? TVN_RES_ERR_REMOVE_CONE_VARIABLE : TVN_RES_OK, "remove");
  if (refused) return;
  std::vector<int32_t> to(m.side(accmode).size());
  for (const int32_t i : sub) {
    m.put_bound(accmode, i, isvar ? TVN_BK_FX : TVN_BK_FR, 0, 0);
    on(to, i) = -1;
  }
  int32_t left = 0;
  for (int32_t& k : to)
    if (k == 0) k = left++;
  m.renumber(accmode, to);
}

void Model::permute_step() {
  std::vector<int32_t> perm(m.con.size());
  std::iota(perm.begin(), perm.end(), 0);
  std::shuffle(perm.begin(), perm.end(), rng);
  const int32_t left = len(perm) - draw(2);
  expect(TVN_permuteandremove(task, TVN_ACC_CON, left, perm.data()), TVN_RES_OK, "permuteandremove");
  for (int32_t i = 0; i < len(perm); i++) {
    if (on(perm, i) < left) continue;
    m.put_bound(TVN_ACC_CON, i, TVN_BK_FR, 0, 0);
    on(perm, i) = -1;
  }
  m.renumber(TVN_ACC_CON, perm);
}

void Model::name_step() {
  const std::string fresh = draw(4) ? "n" + std::to_string(draw(12)) + std::string(rng() % 30, '_') : "";
  const int32_t item = draw(3);
  const int32_t count = item == TVN_PI_CONE ? len(m.cone) : len(m.side(item));
  m.objname = fresh + "!";
  expect(TVN_putobjname(task, m.objname.c_str()), TVN_RES_OK, "putobjname");
  if (count == 0) return;
  const auto name = [&](int32_t i) -> std::string& {
    return item == TVN_PI_CONE ? on(m.cone, i).name : on(m.side(item), i).name;
  };
  const int32_t i = draw(count);
  bool taken = false;
  for (int32_t k = 0; k < count; k++) taken = taken || (k != i && !fresh.empty() && name(k) == fresh);
  expect(TVN_putname(task, item, i, fresh.c_str()), taken ? TVN_RES_ERR_DUP_NAME : TVN_RES_OK, "putname");
  if (!taken) name(i) = fresh;
}

void Model::quadratic_step() {
  if (empty(TVN_ACC_VAR) || len(m.var) > 9) return;
  std::vector<int32_t> k, i, j;
  std::vector<double> v;
  for (int32_t num = draw(6); num > 0; num--) {
    const int32_t a = any(TVN_ACC_VAR), b = any(TVN_ACC_VAR);
    i.push_back(std::max(a, b));
    j.push_back(std::min(a, b));
    v.push_back(draw(4) ? number() : 0);
    k.push_back(empty(TVN_ACC_CON) ? 0 : any(TVN_ACC_CON));
  }
  const auto add_to = [&](quad_map& q, size_t s) {
    if (v[s] != 0) q[{i[s], j[s]}] += v[s];
  };
  const int32_t num = len(v);
  switch (empty(TVN_ACC_CON) ? draw(2) : draw(4)) {
  case 0: {
    if (num == 0) return;
    expect(TVN_putqobjij(task, i[0], j[0], v[0]), TVN_RES_OK, "putqobjij");
    const bool there = m.qobj.count({i[0], j[0]}) != 0;
    if (v[0] == 0 && !there) return;
    if (v[0] == 0)
      m.qobj.erase({i[0], j[0]});
    else
      m.qobj[{i[0], j[0]}] = v[0];
    break;
  }
  case 1:
    expect(TVN_putqobj(task, num, i.data(), j.data(), v.data()), TVN_RES_OK, "putqobj");
    m.qobj.clear();
    for (size_t s = 0; s < v.size(); s++) add_to(m.qobj, s);
    break;
  case 2: {
    const int32_t row = any(TVN_ACC_CON);
    expect(TVN_putqconk(task, row, num, i.data(), j.data(), v.data()), TVN_RES_OK, "putqconk");
    on(m.con, row).q.clear();
    for (size_t s = 0; s < v.size(); s++) add_to(on(m.con, row).q, s);
    break;
  }
  default:
    expect(TVN_putqcon(task, num, k.data(), i.data(), j.data(), v.data()), TVN_RES_OK, "putqcon");
    for (model_item& c : m.con) c.q.clear();
    for (size_t s = 0; s < v.size(); s++) add_to(on(m.con, k[s]).q, s);
  }
  m.forget_statuses();
}

void Model::cone_step() {
  if (draw(3) == 0 && !m.cone.empty()) {
    const int32_t k = draw(len(m.cone));
    expect(TVN_removecone(task, k), TVN_RES_OK, "removecone");
    m.cone.erase(m.cone.begin() + k);
    return m.forget_statuses();
  }
  const bool put = draw(2) && !m.cone.empty();
  const int32_t k = put ? draw(len(m.cone)) : len(m.cone), type = draw(2);
  std::vector<int32_t> members = some(len(m.var), 3);
  TVNrescodee want = len(members) < type + 1 ? TVN_RES_ERR_CONE_SIZE : TVN_RES_OK;
  for (int32_t q = 0; q < len(members) && want == TVN_RES_OK; q++) {
    const int32_t other = m.cone_of(on(members, q));
    if (other >= 0 && other != k)
      want = TVN_RES_ERR_CONE_OVERLAP;
    else if (std::count(members.begin(), members.begin() + q, on(members, q)))
      want = TVN_RES_ERR_CONE_REP_VAR;
  }
  const double par = number();
  expect(put ? TVN_putcone(task, k, type, par, len(members), members.data())
             : TVN_appendcone(task, type, par, len(members), members.data()),
         want, "putcone or appendcone");
  if (want != TVN_RES_OK) return;
  if (!put) m.cone.push_back({type, par, members, ""});
  on(m.cone, k).type = type;
  on(m.cone, k).par = par;
  on(m.cone, k).members = members;
  m.forget_statuses();
}

void Model::type_step() {
  if (empty(TVN_ACC_VAR)) return;
  model_item& v = on(m.var, draw(len(m.var)));
  const auto j = static_cast<int32_t>(&v - m.var.data());
  v.type = draw(2);
  expect(TVN_putvartype(task, j, v.type), TVN_RES_OK, "putvartype");
  if (draw(2)) return;
  v.pri = draw(9);
  v.dir = draw(3);
  expect(TVN_putvarbranchorder(task, j, v.pri, v.dir), TVN_RES_OK, "putvarbranchorder");
}

// A whole solution, with any statuses.
void Model::solution_step() {
  const int32_t w = draw(3);
  if (draw(12) == 0) {
    on(m.slot, w).defined = false;
    return expect(TVN_undefsolution(task, w), TVN_RES_OK, "undefsolution");
  }
  std::vector<int32_t> skc, skx, skn;
  std::array<std::vector<double>, 8> v;
  m.make_defined(w);
  for (model_item& i : m.con) {
    model_entry& e = on(i.sol, w);
    e = {draw(7), draw(2) ? number() : i.b.bl, number(), number(), number()};
    skc.push_back(e.sk);
    for (const auto& [k, x] : {std::pair{0, e.x}, std::pair{2, e.y}, std::pair{3, e.sl}, std::pair{4, e.su}})
      on(v, k).push_back(x);
  }
  for (model_item& j : m.var) {
    model_entry& e = on(j.sol, w);
    e = {draw(7), draw(2) ? number() : j.b.bl, 0, number(), number(), number()};
    skx.push_back(e.sk);
    for (const auto& [k, x] : {std::pair{1, e.x}, std::pair{5, e.sl}, std::pair{6, e.su}, std::pair{7, e.sn}})
      on(v, k).push_back(x);
  }
  for (model_cone& k : m.cone) {
    skn.push_back(draw(7));
    if (w == TVN_SOL_ITR) k.sk = skn.back();
  }
  expect(TVN_putsolution(task, w, skc.data(), skx.data(), skn.data(), v[0].data(), v[1].data(), v[2].data(),
                         v[3].data(), v[4].data(), v[5].data(), v[6].data(), v[7].data()),
         TVN_RES_OK, "putsolution");
  model_slot& s = on(m.slot, w);
  s.prosta = draw(12);
  s.solsta = draw(16);
  if (s.solsta == 7) s.solsta = 1;
  expect(TVN_putprosta(task, w, s.prosta), TVN_RES_OK, "putprosta");
  expect(TVN_putsolsta(task, w, s.solsta), TVN_RES_OK, "putsolsta");
}

void Model::entry_step() {
  const int32_t accmode = mode(), w = draw(3);
  if (empty(accmode)) return;
  const int32_t i = any(accmode);
  model_entry e{draw(7), number(), 0, number(), number(), accmode == TVN_ACC_VAR ? number() : 0};
  if (!on(m.slot, w).defined) m.make_defined(w);
  if (accmode == TVN_ACC_CON && draw(2)) {
    on(on(m.con, i).sol, w).y = e.x;
    return expect(TVN_putsolutionyi(task, i, w, e.x), TVN_RES_OK, "putsolutionyi");
  }
  expect(TVN_putsolutioni(task, accmode, i, w, e.sk, e.x, e.sl, e.su, e.sn), TVN_RES_OK, "putsolutioni");
  e.y = on(on(m.side(accmode), i).sol, w).y;
  on(on(m.side(accmode), i).sol, w) = e;
  on(m.slot, w).solsta = 0;
}

// The whole problem anew, in either width.
void Model::input_step() {
  if (draw(8)) return;
  const int32_t numcon = 1 + draw(4), numvar = 1 + draw(4);
  const std::vector<double> c(4, 2.5), bl(4, -1), bu(4, 1);
  const std::vector<int32_t> bk(4, TVN_BK_RA), b{0, 1, 2, 3}, e{1, 2, 3, 4}, sub{0, numcon - 1, 0, numcon - 1};
  const std::vector<int64_t> wb{0, 1, 2, 3}, we{1, 2, 3, 4};
  const std::vector<double> val{1, 2, 3, 4};
  expect(wide ? TVN_inputdata64(task, 2, 3, numcon, numvar, c.data(), 0.5, wb.data(), we.data(), sub.data(), val.data(),
                                bk.data(), bl.data(), bu.data(), bk.data(), bl.data(), bu.data())
              : TVN_inputdata(task, 2, 3, numcon, numvar, c.data(), 0.5, b.data(), e.data(), sub.data(), val.data(),
                              bk.data(), bl.data(), bu.data(), bk.data(), bl.data(), bu.data()),
         TVN_RES_OK, "inputdata");
  const int32_t sense = m.sense;
  m = task_model{};
  m.sense = sense;
  m.cfix = 0.5;
  m.maxcon = std::max(2, numcon);
  m.maxvar = std::max(3, numvar);
  for (int32_t i = 0; i < numcon; i++) m.con.push_back({{TVN_BK_RA, -1, 1}, ""});
  for (int32_t j = 0; j < numvar; j++) {
    m.var.push_back({{TVN_BK_RA, -1, 1}, ""});
    m.var.back().c = 2.5;
    m.a[{on(sub, j), j}] = on(val, j);
  }
}

void Model::faulty_step() {
  const int32_t accmode = mode(), count = len(m.side(accmode)), far[] = {0, count, -1}, twice[] = {0, 0};
  const double nan = std::nan(""), one[] = {1, 1}, bad[] = {nan, nan};
  expect(TVN_append(task, accmode, -1 - draw(5)), TVN_RES_ERR_NEGATIVE_APPEND, "append");
  expect(TVN_appendcons(task, -1, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr, nullptr),
         TVN_RES_ERR_IN_ARGUMENT, "appendcons");
  expect(TVN_putbound(task, accmode, count, TVN_BK_FR, 0, 0), TVN_RES_ERR_INDEX_IS_TOO_LARGE, "putbound");
  expect(TVN_putaij(task, -1, 0, 1), TVN_RES_ERR_INDEX_IS_TOO_SMALL, "putaij");
  expect(TVN_remove(task, accmode, 2, far + 1), TVN_RES_ERR_INDEX_ARR_IS_TOO_LARGE, "remove");
  expect(TVN_putsolutioni(task, accmode, count, 1, 0, 0, 0, 0, 0), TVN_RES_ERR_INDEX_IS_TOO_LARGE, "putsolutioni");
  expect(TVN_putcone(task, len(m.cone), 0, 0, 1, far), TVN_RES_ERR_INDEX_IS_TOO_LARGE, "putcone");
  if (len(m.con) > 1)
    expect(TVN_permuteandremove(task, TVN_ACC_CON, 1, std::vector<int32_t>(m.con.size(), 1).data()),
           TVN_RES_ERR_ARGUMENT_PERM_ARRAY, "permuteandremove");
  if (empty(TVN_ACC_VAR) || empty(TVN_ACC_CON)) return;
  expect(TVN_putbound(task, accmode, 0, 5, 0, 0), accmode == TVN_ACC_CON ? TVN_RES_ERR_INV_BKC : TVN_RES_ERR_INV_BKX,
         "putbound");
  expect(TVN_putavec(task, accmode, 0, 1, twice, bad), TVN_RES_ERR_NAN_IN_AIJ, "putavec");
  expect(TVN_putavec64(task, accmode, 0, 1, far + 2, one), TVN_RES_ERR_INDEX_IS_TOO_SMALL, "putavec64");
  if (len(m.var) > 1) {
    const int32_t i[] = {0}, j[] = {1};
    expect(TVN_putqobj(task, 1, i, j, one), TVN_RES_ERR_QOBJ_UPPER_TRIANGLE, "putqobj");
    expect(TVN_putqconk(task, 0, 1, i, j, one), TVN_RES_ERR_QCON_UPPER_TRIANGLE, "putqconk");
    expect(TVN_putqcon(task, 1, i, i, j, one), TVN_RES_ERR_QCON_UPPER_TRIANGLE, "putqcon");
    expect(TVN_putqobjij(task, 0, 1, 1.0), TVN_RES_ERR_QOBJ_UPPER_TRIANGLE, "putqobjij");
    expect(TVN_putqobj(task, 1, j, i, bad), TVN_RES_ERR_INV_QOBJ_VAL, "putqobj");
    expect(TVN_putqobjij(task, 1, 0, bad[0]), TVN_RES_ERR_INV_QOBJ_VAL, "putqobjij");
    expect(TVN_putqconk(task, 0, 1, j, i, bad), TVN_RES_ERR_INV_QCON_VAL, "putqconk");
  }
}

void Model::sequence(uint32_t seed, int32_t steps) {
  using step = void (Model::*)();
  static constexpr step kinds[] = {
      &Model::size_step,     &Model::size_step,      &Model::bound_step, &Model::bound_step,  &Model::cost_step,
      &Model::vector_step,   &Model::element_step,   &Model::list_step,  &Model::remove_step, &Model::permute_step,
      &Model::name_step,     &Model::quadratic_step, &Model::cone_step,  &Model::type_step,   &Model::solution_step,
      &Model::solution_step, &Model::entry_step,     &Model::input_step, &Model::faulty_step};
  rng.seed(seed);
  m = task_model{};
  ASSERT_EQ(TVN_makeemptytask(env, &task), TVN_RES_OK);
  ASSERT_EQ(TVN_append(task, TVN_ACC_VAR, 1), TVN_RES_OK);
  m.append(TVN_ACC_VAR, 1);
  for (int32_t k = 0; k < steps && !HasFailure(); k++) {
    wide = draw(2);
    (this->*kinds[draw(static_cast<int32_t>(std::size(kinds)))])();
    const std::string wrong = seen(task, true).difference(picture_of(m, true));
    if (!wrong.empty()) ADD_FAILURE() << "after " << last << ": " << wrong;
    if (HasFailure()) ADD_FAILURE() << "TOVAN_SEED=" << seed << " step " << k;
  }
  TVNtask_t clone = nullptr;
  EXPECT_EQ(TVN_clonetask(task, &clone), TVN_RES_OK);
  EXPECT_EQ(seen(clone, false).difference(picture_of(m, false)), "") << "in the clone, TOVAN_SEED=" << seed;
  EXPECT_EQ(TVN_deletetask(&clone), TVN_RES_OK);
  EXPECT_EQ(TVN_deletetask(&task), TVN_RES_OK);
}

uint32_t first_seed() {
  const char* s = std::getenv("TOVAN_SEED");
  return s ? static_cast<uint32_t>(std::atoll(s)) : 1;
}

} // namespace

TEST_F(Model, ManySequencesOfCallsLeaveWhatAPlainModelHolds) {
  for (uint32_t k = 0; k < 1000 && !HasFailure(); k++) sequence(first_seed() + k, 150);
}

TEST_F(Model, SequencesOfThousandsOfCallsDoSo) {
  for (uint32_t k = 0; k < 10 && !HasFailure(); k++) sequence(first_seed() + 100000 + k, 4000);
}
