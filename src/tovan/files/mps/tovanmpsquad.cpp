// QUADOBJ, QSECTION and CSECTION: quadratic terms and cones.
//
// An entry (i, j) stands for itself and, off the diagonal, for its mirror image: it is put into the lower triangle as
// it is. A file that holds both halves says so with TVN_IPAR_READ_Q_MODE, which drops one of them.
#include "tovan/files/mps/tovanmps.h"

#include "misc/numtext.h"
#include "tovan/data/data.h"
#include "tovan/task/names.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <cmath>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanmpsquad";

// The row that the section belongs to.
TVNrescodee find_qrow(mps_reader& r, mps_section section, int32_t& row) {
  row = r.objrow;
  if (section == mps_section::quadobj) return TVN_RES_OK;
  mps_fields head;
  const mps_status status = TVN_rm_readhead(r.rm, section, head);
  if (status != mps_status::line) return mps_fault(r, status);
  return mps_find_row(r, head.name3, row);
}

bool is_kept(int32_t mode, int32_t i, int32_t j) noexcept {
  if (mode == TVN_Q_READ_DROP_LOWER) return i < j;
  if (mode == TVN_Q_READ_DROP_UPPER) return i > j;
  return true;
}

// Returns the number of entries that the mode dropped.
int32_t add_qentry(mps_reader& r, int32_t mode, int32_t i, int32_t j, double value) {
  if (std::fabs(value) <= TVNP_getdouparam(r.t, TVN_DPAR_DATA_TOL_QIJ)) return 0;
  if (!is_kept(mode, i, j)) return 1;
  r.terms.push_back({std::max(i, j), std::min(i, j), value});
  return 0;
}

TVNrescodee read_qentries(mps_reader& r, mps_section section, int32_t& numdropped) {
  const int32_t mode = TVNP_getintparam(r.t, TVN_IPAR_READ_Q_MODE);
  return mps_each_line(r, section, [&](const mps_fields& f) {
    if (!f.key.empty()) return mps_bad_name(r, TVN_RES_ERR_MPS_INV_BOUND_KEY, f.key);
    int32_t i = 0, j = 0;
    if (const TVNrescodee bad = mps_find_var(r, f.name2, i)) return bad;
    if (const TVNrescodee bad = mps_find_var(r, f.name3, j)) return bad;
    numdropped += add_qentry(r, mode, i, j, f.value4);
    if (f.name5.empty() && f.value6 == 0) return TVN_RES_OK;
    if (const TVNrescodee bad = mps_find_var(r, f.name5, j)) return bad;
    numdropped += add_qentry(r, mode, i, j, f.value6);
    return TVN_RES_OK;
  });
}

// The objective's terms go to the objective, and to the objective row while that is kept.
TVNrescodee put_qentries(mps_reader& r, int32_t row) {
  TVNrescodee code = TVN_RES_OK;
  if (row == r.objrow) code = put_terms(r.t, -1, r.terms);
  if (code == TVN_RES_OK && (row != r.objrow || r.keepfree)) code = put_terms(r.t, row, r.terms);
  return code;
}

TVNrescodee add_member(mps_reader& r, std::string_view conename, std::string_view name) {
  int32_t j = 0;
  if (const TVNrescodee bad = mps_find_var(r, name, j)) return bad;
  const cones& cone = r.t.prob.cone;
  const int32_t other = cone.which.empty() ? 0 : cone.which[j];
  const c_name present(conename);
  if (other > 0)
    return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_CONE_OVERLAP, r.cols.text(j),
                              r.cones.text(other - 1), present.text));
  const int32_t number = r.cones.size() + 1;
  if (r.incone[j] == number)
    return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_CONE_REPEAT, r.cols.text(j), present.text));
  r.incone[j] = number;
  r.members.push_back(j);
  return TVN_RES_OK;
}

int32_t find_cone_type(std::string_view word) noexcept {
  return word == "QUAD" ? TVN_CT_QUAD : word == "RQUAD" ? TVN_CT_RQUAD : -1;
}

TVNrescodee append_named_cone(mps_reader& r, int32_t type, double parameter, std::string_view name) {
  const auto num = static_cast<int32_t>(r.members.size());
  if (const TVNrescodee bad = append_cone(r.t, type, parameter, num, r.members.data())) return mps_fail(r, bad);
  const int32_t k = r.cones.insert(name_key(name));
  append_name(r.t, TVN_PI_CONE, k, name);
  return TVN_RES_OK;
}

} // namespace

TVNrescodee mps_read_quadratic(mps_reader& r, mps_section section) {
  int32_t row = -1, numdropped = 0;
  if (const TVNrescodee bad = find_qrow(r, section, row)) return bad;
  if (r.hasq.empty()) r.hasq.resize(r.rows.size(), 0);
  if (r.hasq[row]) return mps_bad_name(r, TVN_RES_ERR_MPS_MUL_QSEC, r.rows.text(row));
  r.terms.clear();
  r.terms.reserve(r.counts.numqnz);
  if (const TVNrescodee bad = read_qentries(r, section, numdropped)) return bad;
  if (numdropped > 0 && row == r.objrow) {
    const TVNrescodee bad = mps_fail(r, report(r.t, label, __LINE__, TVN_RES_WRN_DROPPED_NZ_QOBJ, numdropped));
    if (bad) return bad;
  }
  r.hasq[row] = !r.terms.empty();
  return mps_fail(r, put_qentries(r, row));
}

TVNrescodee mps_read_cone(mps_reader& r) {
  mps_fields head;
  const mps_status status = TVN_rm_readhead(r.rm, mps_section::csection, head);
  if (status != mps_status::line) return mps_fault(r, status);
  if (r.cones.find(name_key(head.name3)) >= 0) return mps_bad_name(r, TVN_RES_ERR_MPS_MUL_CSEC, head.name3);
  const int32_t type = find_cone_type(trim(head.name5));
  if (type < 0) return mps_bad_name(r, TVN_RES_ERR_MPS_CONE_TYPE, head.name5);
  const double parameter = head.value4;
  if (!std::isfinite(parameter)) return mps_fail(r, report(r.t, label, __LINE__, TVN_RES_ERR_MPS_INV_FIELD, 4));
  vec<char> store(*r.t.sys); // the head's text goes with its line
  store.append(head.name3.data(), static_cast<int64_t>(head.name3.size()));
  const std::string_view name(store.data(), head.name3.size());
  r.members.clear();
  if (r.incone.size() < r.cols.size()) r.incone.reset(*r.t.sys, r.cols.size(), 0);
  const TVNrescodee bad = mps_each_line(r, mps_section::csection, [&](const mps_fields& f) {
    if (!f.key.empty()) return mps_bad_name(r, TVN_RES_ERR_MPS_INV_BOUND_KEY, f.key);
    return add_member(r, name, f.name2);
  });
  return bad ? bad : append_named_cone(r, type, parameter, name);
}

} // namespace tvn
