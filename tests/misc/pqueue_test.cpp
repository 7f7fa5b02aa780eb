// If these fail, an ordering eliminates another vertex than the one of the smallest degree, or loses one.
#include "misc/pqueue.h"

#include <gtest/gtest.h>
#include <list>
#include <random>
#include <vector>

using namespace tvn;

namespace {

struct OrderingQueue : testing::Test {
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  std::vector<int32_t> head, in, prio, aux, next, prev;
  pqueue q;
  void TearDown() override { EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok); }
  void setup(size_t n, size_t nbuckets) {
    head.resize(nbuckets);
    for (auto* words : {&in, &prio, &aux, &next, &prev}) words->assign(n, 99);
    TVN_pqueue_setup(*sys, static_cast<int32_t>(n), static_cast<int32_t>(nbuckets), head.data(), in.data(), prio.data(),
                     aux.data(), next.data(), prev.data(), q);
  }
  std::vector<int32_t> walk(int32_t e) const {
    std::vector<int32_t> seen;
    for (bool on = e != q.n; on; on = TVN_pqueue_tonext(q, e)) seen.push_back(e);
    return seen;
  }
};

} // namespace

TEST_F(OrderingQueue, AgreesWithPlainListsUnderRandomCalls) {
  constexpr int32_t n = 25, nbuckets = 6, top = 12;
  setup(n, nbuckets);
  std::vector<std::list<int32_t>> lists(nbuckets + 1); // the last one is the overflow
  std::vector<int32_t> p(n, -1);
  const auto list_of = [&](int32_t e) -> auto& {
    return lists[static_cast<size_t>(std::min(p[static_cast<size_t>(e)], nbuckets))];
  };
  std::mt19937 gen(8);
  for (int32_t step = 0; step < 20000; step++) {
    const auto e = static_cast<int32_t>(gen() % n);
    int32_t& pe = p[static_cast<size_t>(e)];
    const auto by = static_cast<int32_t>(gen() % 4);
    const uint32_t what = gen() % 4;
    int32_t target = -1; // where the element goes; -1 out
    if (what == 0) TVN_pqueue_del(q, e);
    if (what == 1) TVN_pqueue_ins(q, e, target = static_cast<int32_t>(gen() % top));
    if (what == 2) TVN_pqueue_incp(q, e, by), target = pe < 0 ? -1 : pe + by;
    if (what == 3) {
      const int32_t down = std::min(by, std::max(pe, 0));
      TVN_pqueue_decp(q, e, down);
      target = pe < 0 ? -1 : pe - down;
    }
    if (pe >= 0) list_of(e).remove(e);
    pe = target;
    if (pe >= 0) list_of(e).push_front(e);

    ASSERT_EQ(TVN_pqueue_in(q, e), pe >= 0);
    ASSERT_EQ(TVN_pqueue_inp(q, e), pe);
    for (int32_t k = 0; k <= nbuckets; k++) {
      const auto& want = lists[static_cast<size_t>(k)];
      int32_t at = n;
      if (k < nbuckets)
        TVN_pqueue_top(q, k, at);
      else
        TVN_pqueue_too(q, at);
      ASSERT_EQ(walk(at), std::vector<int32_t>(want.begin(), want.end())) << "step " << step << " list " << k;
    }
    int32_t want = n, wantp = 0; // the first of the lowest priority in the order of the lists
    for (const auto& l : lists)
      for (const int32_t x : l)
        if (want == n || p[static_cast<size_t>(x)] < wantp) want = x, wantp = p[static_cast<size_t>(x)];
    int32_t got = -5, gotp = wantp;
    ASSERT_EQ(TVN_pqueue_tomin(q, got, gotp), want != n);
    ASSERT_EQ(got, want) << "step " << step;
    ASSERT_EQ(gotp, wantp);
  }
}

TEST_F(OrderingQueue, AWalkGoesOnBehindADeletedElement) {
  setup(4, 3);
  for (int32_t e = 0; e < 4; e++) TVN_pqueue_ins(q, e, 1);
  aux[2] = 7;
  int32_t e = 2; // list: 3 2 1 0
  TVN_pqueue_del(q, e);
  EXPECT_EQ(aux[2], 0);
  ASSERT_TRUE(TVN_pqueue_tonext(q, e));
  EXPECT_EQ(e, 1);
  ASSERT_TRUE(TVN_pqueue_toprev(q, e));
  EXPECT_EQ(e, 3);
  EXPECT_FALSE(TVN_pqueue_toprev(q, e));
}

TEST_F(OrderingQueue, StopsOnImpossiblePriorities) {
  setup(3, 2);
  EXPECT_DEATH(TVN_pqueue_ins(q, 1, -4), "e: 1 p: -4<0");
  TVN_pqueue_ins(q, 1, 5);
  prio[1] = 0; // the caller wrote into the queue
  int32_t e = 0, p = 0;
  EXPECT_DEATH(TVN_pqueue_tomin(q, e, p), "e: 1 p: 0<minbucket");
}
