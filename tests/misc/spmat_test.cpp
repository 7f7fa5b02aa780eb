// If this fails, an optimizer works on another matrix than the one it was given.
#include "misc/spmat.h"

#include <cmath>
#include <cstdlib>
#include <filesystem>
#include <fstream>
#include <gtest/gtest.h>
#include <iterator>
#include <map>
#include <random>
#include <string>
#include <unistd.h>
#include <vector>

namespace {

using namespace tvn;

struct CompressedVectors : testing::Test {
  sysenv* sys = TVN_sysenv_make(10, nullptr, nullptr, nullptr);
  // 3 rows, 4 columns, by columns with gaps and out of order; column 2 is empty.
  std::vector<int64_t> ptrb{4, 0, 3, 7}, ptre{6, 2, 3, 8};
  std::vector<int32_t> sub{2, 0, -1, -1, 1, 0, -1, 2};
  std::vector<double> val{5, 1, 99, 99, 3, 2, 99, 4};
  spmat a;
  void SetUp() override { TVN_spmat_emake(*sys, 4, 3, 8, ptrb.data(), ptre.data(), sub.data(), val.data(), a); }
  void TearDown() override {
    TVN_spmat_delete(a);
    EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok);
  }
  static std::vector<double> dense(const spmat& m) {
    std::vector<double> d(static_cast<size_t>(m.nvec * m.vlen), 0.0);
    for (int32_t j = 0; j < m.nvec; j++)
      for (int64_t p = m.ptrb[j]; p < m.ptre[j]; p++) d[static_cast<size_t>(j * m.vlen + m.sub[p])] = m.val[p];
    return d;
  }
};

TEST_F(CompressedVectors, TransposingTwiceGivesTheMatrixBackSorted) {
  ASSERT_EQ(TVN_spmat_check(a), 0);
  spmat at, back;
  TVN_spmat_transpose(*sys, a, false, at);
  TVN_spmat_transpose(*sys, at, false, back);
  EXPECT_EQ(TVN_spmat_check(at), 0);
  EXPECT_EQ(dense(back), dense(a));
  for (int32_t i = 0; i < at.nvec; i++)
    for (int64_t p = at.ptrb[i] + 1; p < at.ptre[i]; p++) EXPECT_LT(at.sub[p - 1], at.sub[p]);
  TVN_spmat_transpose(*sys, a, false, at); // into the storage that it has
  EXPECT_EQ(TVN_spmat_getnz(at), 5);
}

TEST_F(CompressedVectors, BigCopyPacksAndResizedVectorsKeepTheirEntries) {
  spmat b;
  TVN_spmat_bigcopy(a, 9, b);
  EXPECT_EQ(dense(b), dense(a));
  EXPECT_EQ(b.ffree, 5);
  const int64_t old = b.ptrb[0];
  ASSERT_TRUE(TVN_spmat_vresize(b, 0, 3)); // moves to the end
  EXPECT_EQ(b.ptrb[0], 5);
  EXPECT_NE(b.ptrb[0], old);
  b.sub[7] = 2;
  b.val[7] = 6;
  EXPECT_EQ(TVN_spmat_check(b), 0);
  EXPECT_EQ(dense(b), (std::vector<double>{2, 3, 6, 1, 0, 5, 0, 0, 0, 0, 0, 4}));
  EXPECT_FALSE(TVN_spmat_vresize(b, 3, 2)); // 8 + 2 > 9
  EXPECT_TRUE(TVN_spmat_vresize(b, 0, 4));  // the last one grows where it stands
  EXPECT_EQ(b.ptrb[0], 5);
}

TEST_F(CompressedVectors, ProductsAgreeWithTheDenseMatrix) {
  const double x[] = {1, 2, 3, 4}, u[] = {1, 10, 100};
  double y[] = {1, 1, 1}, z[] = {7, 7, 7, 7};
  TVN_spmat_gemv(a, false, 2.0, x, -1.0, y);
  EXPECT_EQ((std::vector<double>{y, y + 3}), (std::vector<double>{2 * (2 + 2) - 1, 2 * 3 - 1, 2 * (10 + 16) - 1}));
  TVN_spmat_gemv(a, true, 1.0, u, 0.0, z);
  EXPECT_EQ((std::vector<double>{z, z + 4}), (std::vector<double>{32, 501, 0, 400}));
  for (int32_t j = 0; j < 4; j++) EXPECT_EQ(TVN_spmat_doti(a, j, u), z[j]);
  double w[] = {1, 1, 1};
  TVN_spmat_aipy(a, 0, -2.0, w);
  TVN_spmat_aipy(a, 2, 9.0, w); // empty
  EXPECT_EQ((std::vector<double>{w, w + 3}), (std::vector<double>{-3, -5, 1}));
  sub[5] = 1;
  EXPECT_EQ(TVN_spmat_check(a), 4);
}

TEST_F(CompressedVectors, AVectorCutShortLosesItsLastEntriesOnly) {
  const double u[] = {1, 10, 100};
  TVN_spmat_putnzi(a, 0, 1);
  int64_t numnz[4];
  TVN_spmat_getvnz(a, numnz);
  EXPECT_EQ((std::vector<int64_t>{numnz, numnz + 4}), (std::vector<int64_t>{1, 2, 0, 1}));
  EXPECT_EQ(TVN_spmat_doti(a, 0, u), 30);
  TVN_spmat_putnzi(a, 0, 2); // the entry was not overwritten
  EXPECT_EQ(TVN_spmat_doti(a, 0, u), 32);
}

TEST_F(CompressedVectors, EntriesMayLieInArraysOfTheCaller) {
  spmat b;
  TVN_spmat_make(*sys, 2, 3, b);
  TVN_spmat_init(b, 2, 3);
  size_t most = 0, pointers = 0, now = 0;
  TVN_memman_getmemusage(*sys->mman, most, pointers);
  TVN_spmat_ialloc(b, 50);
  ASSERT_TRUE(TVN_spmat_vresize(b, 0, 2));
  int32_t index[3] = {};
  double value[3] = {};
  TVN_spmat_ealloc(b, 3, index, value);
  TVN_memman_getmemusage(*sys->mman, most, now);
  EXPECT_EQ(now, pointers); // its own entries went
  EXPECT_EQ(TVN_spmat_getnz(b), 0);
  ASSERT_TRUE(TVN_spmat_vresize(b, 1, 3));
  EXPECT_FALSE(TVN_spmat_vresize(b, 0, 1));
  for (int32_t k = 0; k < 3; k++) b.sub[b.ptrb[1] + k] = k, b.val[b.ptrb[1] + k] = k + 1.5;
  EXPECT_EQ((std::vector<double>{value, value + 3}), (std::vector<double>{1.5, 2.5, 3.5}));
  EXPECT_EQ(TVN_spmat_check(b), 0);
  TVN_spmat_delete(b); // leaves the caller's arrays alone
  EXPECT_EQ(index[2], 2);
}

TEST_F(CompressedVectors, TheAuditFindsVectorsThatShareAnEntry) {
  ptrb[3] = 5; // inside column 0; the pattern itself is in order
  ptre[3] = 6;
  EXPECT_EQ(TVN_spmat_check(a), 5);
  ptrb[2] = ptre[2] = 5; // an empty vector shares nothing
  ptrb[3] = 7;
  ptre[3] = 8;
  EXPECT_EQ(TVN_spmat_check(a), 0);
}

// Random matrices with gaps, empty vectors and unordered positions, against maps by (vector, index).
struct RandomVectors : testing::TestWithParam<uint32_t> {
  using model = std::map<std::pair<int32_t, int32_t>, double>;
  sysenv* sys = TVN_sysenv_make(1, nullptr, nullptr, nullptr);
  std::mt19937 gen{GetParam()};
  int32_t nvec = static_cast<int32_t>(gen() % 12) + 1, vlen = static_cast<int32_t>(gen() % 40) + 1;
  void TearDown() override { EXPECT_EQ(TVN_sysenv_delete(&sys), sys_code::ok); }

  int32_t random(int32_t n) { return static_cast<int32_t>(gen() % static_cast<uint32_t>(n)); }
  void make(spmat& a) {
    TVN_spmat_make(*sys, nvec, vlen, a);
    TVN_spmat_init(a, nvec, vlen);
    TVN_spmat_ialloc(a, int64_t{4} * nvec * vlen + 100);
    for (int32_t k = 0; k < 2 * nvec; k++) { // vectors come back for more, and so move
      const int32_t j = random(nvec);
      const int64_t old = TVN_spmat_getnzi(a, j);
      std::vector<bool> used(static_cast<size_t>(vlen));
      for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) used[static_cast<size_t>(a.sub[p])] = true;
      for (int64_t len = old; len < vlen && random(5) > 0; len++) {
        int32_t i = random(vlen);
        while (used[static_cast<size_t>(i)]) i = (i + 1) % vlen;
        used[static_cast<size_t>(i)] = true;
        ASSERT_TRUE(TVN_spmat_vresize(a, j, len + 1));
        a.sub[a.ptre[j] - 1] = i;
        a.val[a.ptre[j] - 1] = random(9) - 4;
      }
    }
    ASSERT_EQ(TVN_spmat_check(a), 0);
  }
  static model entries(const spmat& a) {
    model m;
    EXPECT_EQ(TVN_spmat_check(a), 0);
    for (int32_t j = 0; j < a.nvec; j++)
      for (int64_t p = a.ptrb[j]; p < a.ptre[j]; p++) m[{j, a.sub[p]}] = a.val[p];
    return m;
  }
  std::vector<int32_t> permutation(int32_t n) {
    std::vector<int32_t> perm(static_cast<size_t>(n));
    for (int32_t k = 0; k < n; k++) perm[static_cast<size_t>(k)] = k;
    std::shuffle(perm.begin(), perm.end(), gen);
    return perm;
  }
};

INSTANTIATE_TEST_SUITE_P(Seeds, RandomVectors, testing::Range(0u, 40u));

TEST_P(RandomVectors, EveryCopyAndPackingKeepsTheEntries) {
  spmat a, b;
  make(a);
  const model want = entries(a);
  TVN_spmat_copy(a, b);
  EXPECT_EQ(entries(b), want);
  const int32_t* kept = b.sub;
  TVN_spmat_copy(a, b);
  EXPECT_EQ(b.sub, kept); // the storage was large enough
  EXPECT_EQ(entries(b), want);
  const int64_t space = random(4);
  TVN_spmat_unpack(b, space);
  EXPECT_EQ(b.ffree, TVN_spmat_getnz(a) + space * nvec);
  EXPECT_EQ(entries(b), want);
  TVN_spmat_pack(b);
  EXPECT_EQ(b.maxsze, TVN_spmat_getnz(a));
  EXPECT_EQ(entries(b), want);
  EXPECT_FALSE(TVN_spmat_unpackinplace(b, 1));
  EXPECT_EQ(entries(b), want);
  TVN_spmat_packinplace(a);
  EXPECT_EQ(a.ffree, TVN_spmat_getnz(a));
  EXPECT_EQ(entries(a), want);
  ASSERT_TRUE(TVN_spmat_unpackinplace(a, 2));
  EXPECT_EQ(entries(a), want);
  for (int32_t j = 0; j < nvec; j++)
    for (int32_t k = 0; k < nvec; k++) EXPECT_FALSE(k != j && a.ptrb[k] >= a.ptrb[j] && a.ptrb[k] < a.ptre[j] + 2);
}

TEST_P(RandomVectors, ListsSlicesAndPermutationsPickTheRightVectors) {
  spmat a, b;
  make(a);
  const model all = entries(a);
  const auto perm = permutation(nvec);
  const auto picked = [&](int32_t num, auto vector) {
    model m;
    for (int32_t k = 0; k < num; k++)
      for (int32_t i = 0; i < vlen; i++)
        if (const auto it = all.find({vector(k), i}); it != all.end()) m[{k, i}] = it->second;
    return m;
  };
  const auto by_perm = [&](int32_t k) { return perm[static_cast<size_t>(k)]; };
  const int32_t num = random(nvec + 1), first = random(nvec - num + 1);
  TVN_spmat_copyasub(a, num, perm.data(), b);
  EXPECT_EQ(entries(b), picked(num, by_perm));
  TVN_spmat_slicecopy(a, first, first + num, b);
  EXPECT_EQ(entries(b), picked(num, [&](int32_t k) { return first + k; }));
  spmat at, back;
  TVN_spmat_transposeperm(*sys, a, perm.data(), false, at);
  TVN_spmat_transpose(*sys, at, false, back);
  EXPECT_EQ(entries(back), picked(nvec, by_perm));
  TVN_spmat_permutevec(a, perm.data());
  EXPECT_EQ(entries(a), picked(nvec, by_perm));
}

TEST_P(RandomVectors, BothSortsOrderTheIndexesAndKeepTheValues) {
  spmat a, b;
  make(a);
  TVN_spmat_copy(a, b);
  const model want = entries(a);
  TVN_spmat_sortvecs(a);
  TVN_spmat_sortvecs2(b);
  for (const spmat* m : {&a, &b}) {
    EXPECT_EQ(entries(*m), want);
    for (int32_t j = 0; j < nvec; j++) EXPECT_TRUE(std::is_sorted(m->sub + m->ptrb[j], m->sub + m->ptre[j]));
  }
}

TEST_P(RandomVectors, RenumberedIndexesComeBack) {
  spmat a;
  make(a);
  model want = entries(a);
  std::vector<int32_t> old2new, new2old;
  for (int32_t i = 0; i < vlen; i++) {
    const bool keep = random(3) > 0;
    old2new.push_back(keep ? static_cast<int32_t>(new2old.size()) : -1);
    if (keep) new2old.push_back(i);
  }
  const auto before = static_cast<int64_t>(want.size());
  std::erase_if(want, [&](const auto& e) { return old2new[static_cast<size_t>(e.first.second)] < 0; });
  EXPECT_EQ(TVN_spmat_compress(a, old2new.data(), static_cast<int32_t>(new2old.size())),
            before - static_cast<int64_t>(want.size()));
  EXPECT_EQ(TVN_spmat_check(a), 0);
  TVN_spmat_uncompress(a, new2old.data(), vlen);
  EXPECT_EQ(entries(a), want);
}

TEST_P(RandomVectors, SumsProductsAndNormsAreThoseOfTheDenseMatrix) {
  spmat a, b, c;
  make(a);
  make(b);
  TVN_spmat_symmatadd(*sys, a, b, c);
  TVN_spmat_nummatadd(2.0, a, -3.0, b, c);
  model want;
  for (const auto& [at, value] : entries(a)) want[at] += 2 * value;
  for (const auto& [at, value] : entries(b)) want[at] -= 3 * value;
  EXPECT_EQ(entries(c), want);
  TVN_spmat_nummatadd(1.0, a, 0.0, b, c); // the same pattern again
  for (auto& [at, value] : want) value = entries(a).contains(at) ? entries(a)[at] : 0.0;
  EXPECT_EQ(entries(c), want);

  std::vector<double> rowsum(static_cast<size_t>(vlen));
  for (int32_t j = 0; j < nvec; j++) {
    double one = 0, two = 0, most = 0;
    for (int32_t i = 0; i < vlen; i++) {
      const double v = entries(a).contains({j, i}) ? entries(a)[{j, i}] : 0;
      one += std::fabs(v), two += v * v, most = std::max(most, std::fabs(v));
      rowsum[static_cast<size_t>(i)] += std::fabs(v);
    }
    EXPECT_EQ(TVN_spmat_nrm1i(a, j), one);
    EXPECT_EQ(TVN_spmat_sqnrm2i(a, j), two);
    EXPECT_EQ(TVN_spmat_nrminfi(a, j), most);
  }
  EXPECT_EQ(TVN_spmat_nrminfinity(a), *std::max_element(rowsum.begin(), rowsum.end()));

  for (const bool transposed : {false, true}) {
    const int32_t lenx = transposed ? vlen : nvec, leny = transposed ? nvec : vlen, ldb = lenx + 1, ldc = leny + 2;
    std::vector<double> x(static_cast<size_t>(3 * ldb)), y(static_cast<size_t>(3 * ldc), 5.0);
    for (double& v : x) v = random(7) - 3;
    std::vector<double> expected = y;
    for (int32_t k = 0; k < 3; k++) {
      for (int32_t r = 0; r < leny; r++) expected[static_cast<size_t>(k * ldc + r)] *= -1.0;
      for (const auto& [at, value] : entries(a)) {
        const auto [j, i] = at;
        const int32_t row = transposed ? j : i, col = transposed ? i : j;
        expected[static_cast<size_t>(k * ldc + row)] += 2.0 * value * x[static_cast<size_t>(k * ldb + col)];
      }
    }
    TVN_spmat_gemm(a, transposed, 3, 2.0, x.data(), ldb, -1.0, y.data(), ldc);
    EXPECT_EQ(y, expected);
  }
}

TEST_P(RandomVectors, CopiesOfVectorsAreFoundAndNothingElse) {
  spmat a;
  make(a);
  // Each vector three times: as it is, shuffled and scaled, and with one value changed.
  spmat t;
  TVN_spmat_make(*sys, 3 * nvec, vlen, t);
  TVN_spmat_init(t, 3 * nvec, vlen);
  TVN_spmat_ialloc(t, 3 * TVN_spmat_getnz(a));
  for (int32_t j = 0; j < 3 * nvec; j++) {
    const int32_t from = j / 3;
    ASSERT_TRUE(TVN_spmat_vresize(t, j, TVN_spmat_getnzi(a, from)));
    std::copy(a.sub + a.ptrb[from], a.sub + a.ptre[from], t.sub + t.ptrb[j]);
    std::copy(a.val + a.ptrb[from], a.val + a.ptre[from], t.val + t.ptrb[j]);
    if (j % 3 == 1)
      std::reverse(t.sub + t.ptrb[j], t.sub + t.ptre[j]), std::reverse(t.val + t.ptrb[j], t.val + t.ptre[j]);
    if (j % 3 == 1) TVN_spmat_scali(t, j, -0.1);
    if (j % 3 == 2 && t.ptrb[j] < t.ptre[j]) t.val[t.ptrb[j]] += 1e-6;
  }
  std::vector<int32_t> first(static_cast<size_t>(3 * nvec)), pattern(first.size());
  std::vector<double> scale(first.size());
  TVN_spmat_dupvec(t, 1e-12, first.data(), scale.data());
  TVN_spmat_dupvecsparsity(t, pattern.data());
  model m = entries(t);
  for (int32_t j = 0; j < 3 * nvec; j++) {
    const auto k = static_cast<size_t>(j);
    std::vector<int32_t> indexes(t.sub + t.ptrb[j], t.sub + t.ptre[j]);
    std::sort(indexes.begin(), indexes.end());
    int32_t lowest = 0; // the first vector of this pattern
    for (;; lowest++) {
      std::vector<int32_t> other(t.sub + t.ptrb[lowest], t.sub + t.ptre[lowest]);
      std::sort(other.begin(), other.end());
      if (other == indexes) break;
    }
    EXPECT_EQ(pattern[k], lowest);
    if (j % 3 == 1) { EXPECT_EQ(first[k], first[k - 1]) << "seed " << GetParam() << " vector " << j; }
    ASSERT_LE(first[k], j);
    for (const int32_t i : indexes) { // what is found is true
      const double v = m.at({j, i}), w = m.at({first[k], i});
      EXPECT_NEAR(v, scale[k] * w, 4e-12 * std::fabs(v));
    }
  }
}

TEST_F(CompressedVectors, WrittenFilesReadBackAndPrintsNameEveryEntry) {
  val[4] = 0.1;
  const std::string name =
      (std::filesystem::temp_directory_path() / ("tvn_spmat_" + std::to_string(getpid()))).string();
  sys_code code = sys_code::ok;
  TVN_spmat_writetofile(a, name.c_str(), code);
  EXPECT_EQ(code, sys_code::ok);
  std::ifstream in(name);
  const std::string text((std::istreambuf_iterator<char>(in)), {});
  std::filesystem::remove(name);
  EXPECT_EQ(text, "3 4 5\n1 0 0.1\n0 0 2\n2 1 5\n0 1 1\n2 3 4\n");
  TVN_spmat_writetofile(a, "/dev/full", code);
  EXPECT_EQ(code, sys_code::file_write);
  std::string printed;
  const text_sink sink = [](void* to, std::string_view piece) { *static_cast<std::string*>(to) += piece; };
  TVN_spmat_print(a, "A", sink, &printed);
  EXPECT_EQ(printed, "A: 4 vectors of length 3, 5 entries\n0: (1, 1.00000000e-01) (0, 2.00000000e+00)\n"
                     "1: (2, 5.00000000e+00) (0, 1.00000000e+00)\n2:\n3: (2, 4.00000000e+00)\n");
  printed.clear();
  TVN_spmat_printi(a, 3, sink, &printed);
  EXPECT_EQ(printed, "3: (2, 4.00000000e+00)\n");
}

} // namespace
