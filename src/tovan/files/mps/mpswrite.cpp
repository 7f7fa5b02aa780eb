// The MPS writer: the problem of a task as a file that the reader takes back to the same problem.
//
// Text is gathered in a block and handed to the file when that is full. One pair of name and number stands on a line,
// at the fixed columns as long as names are no longer than eight characters. An off-diagonal quadratic term stands in
// both halves of its matrix with half its value each: added up, as readers do, they give the term, and a file that
// holds the term once means the same. Cost: linear in the size of the problem, a few passes over the columns for A.
#include "tovan/files/mps/mpswrite.h"

#include "tovan/data/data.h"
#include "tovan/tables/version.h"
#include "tovan/task/convert.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/names.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <charconv>
#include <cmath>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/mpswrite";
constexpr int64_t blocksize = 1 << 16;
constexpr int64_t reserve = 4096; // free at the start of each line but for names, which are checked by themselves

struct mps_writer {
  task& t;
  sysfile& file;
  sys_code state = sys_code::ok;
  bool generic = false, quoted = false, freerows = false;
  int32_t precision = 8;
  buffer<char> block{};
  int64_t used = 0;
  int64_t flushes = 0;
  TVNrescodee code = TVN_RES_OK; // first failure of a name or a stop by the user
};

void flush(mps_writer& w) {
  TVN_sysenv_fwrite(w.file, w.block.data(), w.used, w.state);
  w.used = 0;
  // One callback a megabyte.
  if (++w.flushes % 16 == 0 && w.code == TVN_RES_OK) w.code = call_callbacks(w.t, TVN_CALLBACK_BEGIN_WRITE);
}

bool is_going(const mps_writer& w) noexcept { return w.code == TVN_RES_OK && w.state == sys_code::ok; }

void put(mps_writer& w, std::string_view text) {
  if (w.used + static_cast<int64_t>(text.size()) > blocksize - reserve) {
    flush(w);
    if (static_cast<int64_t>(text.size()) > blocksize - reserve) {
      TVN_sysenv_fwrite(w.file, text.data(), static_cast<int64_t>(text.size()), w.state);
      return;
    }
  }
  std::memcpy(w.block.data() + w.used, text.data(), text.size());
  w.used += static_cast<int64_t>(text.size());
}

// Text filled with blanks up to `width`.
void put_padded(mps_writer& w, std::string_view text, size_t width) {
  put(w, text);
  static constexpr std::string_view blanks = "                    ";
  if (text.size() < width) put(w, blanks.substr(0, width - text.size()));
}

void put_number(mps_writer& w, double value) {
  char text[40];
  put(w, {text, static_cast<size_t>(realtostr(w.precision, value, text))});
}

// ---- names ----

// Without line ends, tabs and the like, which would end a line or a field.
bool is_printable(std::string_view name) noexcept {
  return std::none_of(name.begin(), name.end(), [](char c) { return static_cast<unsigned char>(c) < ' '; });
}

// False for a name that no reader could take apart: empty, a keyword, or with quotes where they have a meaning.
bool is_writable(const mps_writer& w, std::string_view name) noexcept {
  if (name.empty() || name == "'MARKER'" || !is_printable(name)) return false;
  if (!w.quoted) return true;
  const bool blank = name.find(' ') != std::string_view::npos, quote = name.find('"') != std::string_view::npos;
  return name[0] != '"' && !(blank && quote);
}

void refuse_name(mps_writer& w, const char* name) {
  if (w.code == TVN_RES_OK) w.code = report(w.t, label, __LINE__, TVN_RES_ERR_WRITE_MPS_INVALID_NAME, name);
}

void put_text_name(mps_writer& w, const char* name, size_t width) {
  if (!is_writable(w, name)) return refuse_name(w, name);
  if (!w.quoted || !TVN_getwritename(name, " ")) return put_padded(w, name, width);
  put(w, "\"");
  put(w, name);
  put_padded(w, "\"", width > std::strlen(name) + 1 ? width - std::strlen(name) - 1 : 0);
}

void put_item(mps_writer& w, int32_t item, int32_t i, size_t width = 8) {
  if (!w.generic) return put_text_name(w, item_name(w.t, item, i), width);
  char text[16];
  text[0] = item == TVN_PI_VAR ? 'x' : item == TVN_PI_CON ? 'c' : 'k';
  const int64_t number = int64_t{i} + TVNP_getintparam(w.t, TVN_IPAR_WRITE_GENERIC_NAMES_IO);
  const auto r = std::to_chars(text + 1, text + sizeof text, number);
  put_padded(w, {text, static_cast<size_t>(r.ptr - text)}, width);
}

void put_objective(mps_writer& w, size_t width = 8) {
  if (w.generic)
    put_padded(w, "obj", width);
  else
    put_text_name(w, objective_name(w.t), width);
}

// ---- sections ----

void write_head(mps_writer& w) {
  if (!w.generic && !w.t.taskname.empty()) {
    put(w, "NAME           ");
    if (is_printable(w.t.taskname.view()))
      put(w, w.t.taskname.view());
    else
      refuse_name(w, w.t.taskname.c_str());
    put(w, "\n");
  } else {
    put(w, "NAME\n");
  }
  char line[80];
  std::snprintf(line, sizeof line, "* Written by TOVAN version %d.%d.%d.%d\n", version_major, version_minor,
                version_build, version_revision);
  put(w, line);
  const int32_t sense = w.t.prob.objsense;
  if (TVNP_getintparam(w.t, TVN_IPAR_WRITE_MPS_OBJ_SENSE) == 0) {
    put(w, "* Objective sense: ");
    put(w, sense == TVN_OBJECTIVE_SENSE_MAXIMIZE   ? " maximize\n"
           : sense == TVN_OBJECTIVE_SENSE_MINIMIZE ? "minimize\n"
                                                   : "undefined\n");
  } else if (sense != TVN_OBJECTIVE_SENSE_UNDEFINED) {
    put(w, sense == TVN_OBJECTIVE_SENSE_MAXIMIZE ? "OBJSENSE\n    MAX\n" : "OBJSENSE\n    MIN\n");
  }
}

// A ranged row stands in the file as one side and the distance to the other, which has the digits of the larger side.
// A smaller upper side would drown in it, so it is the one that is written.
bool is_upper_side(const problem& p, int32_t i) noexcept {
  constexpr double smaller = 0.1;
  return p.bkc[i] == TVN_BK_UP || (p.bkc[i] == TVN_BK_RA && std::fabs(p.buc[i]) < smaller * std::fabs(p.blc[i]));
}

bool is_written(const mps_writer& w, int32_t i) noexcept { return w.freerows || w.t.prob.bkc[i] != TVN_BK_FR; }

void write_rows(mps_writer& w) {
  static constexpr const char* keys[] = {" G  ", " L  ", " E  ", " N  ", " G  "};
  put(w, "ROWS\n N  ");
  put_objective(w, 0);
  put(w, "\n");
  for (int32_t i = 0; i < w.t.prob.numcon && is_going(w); i++) {
    if (!is_written(w, i)) continue;
    put(w, keys[is_upper_side(w.t.prob, i) ? static_cast<int32_t>(TVN_BK_UP) : w.t.prob.bkc[i]]);
    put_item(w, TVN_PI_CON, i);
    put(w, "\n");
  }
}

void write_columns(mps_writer& w) {
  const problem& p = w.t.prob;
  const lent_matrix lent(w.t); // the callbacks come in the middle of it
  const sprmat_view& a = lent.a;
  put(w, "COLUMNS\n");
  for (int32_t j = 0; j < p.numvar && is_going(w); j++) {
    put(w, "    ");
    put_item(w, TVN_PI_VAR, j);
    put(w, "  ");
    put_objective(w);
    put(w, "  ");
    put_number(w, p.c[j]);
    put(w, "\n");
    for (int64_t q = a.ptrb[j]; q < a.ptre[j] && is_going(w); q++) {
      if (!is_written(w, a.sub[q])) continue;
      put(w, "    ");
      put_item(w, TVN_PI_VAR, j);
      put(w, "  ");
      put_item(w, TVN_PI_CON, a.sub[q]);
      put(w, "  ");
      put_number(w, a.val[q]);
      put(w, "\n");
    }
  }
}

// A line of RHS or RANGES; row -1 is the objective.
void vector_line(mps_writer& w, std::string_view vector, int32_t row, double value) {
  put(w, "    ");
  put_padded(w, vector, 8);
  put(w, "  ");
  if (row < 0)
    put_objective(w);
  else
    put_item(w, TVN_PI_CON, row);
  put(w, "  ");
  put_number(w, value);
  put(w, "\n");
}

void write_rhs_and_ranges(mps_writer& w) {
  const problem& p = w.t.prob;
  put(w, "RHS\n");
  if (p.cfix != 0) vector_line(w, "rhs", -1, -p.cfix);
  for (int32_t i = 0; i < p.numcon && is_going(w); i++) {
    if (p.bkc[i] == TVN_BK_FR) continue;
    const double value = is_upper_side(p, i) ? p.buc[i] : p.blc[i];
    if (value != 0) vector_line(w, "rhs", i, value);
  }
  put(w, "RANGES\n");
  for (int32_t i = 0; i < p.numcon && is_going(w); i++)
    if (p.bkc[i] == TVN_BK_RA) vector_line(w, "ran", i, p.buc[i] - p.blc[i]);
}

void bound_line(mps_writer& w, std::string_view key, int32_t j, const double* value) {
  put(w, " ");
  put(w, key);
  put(w, " bound     ");
  put_item(w, TVN_PI_VAR, j);
  if (value) {
    put(w, "  ");
    put_number(w, *value);
  }
  put(w, "\n");
}

void integer_bounds(mps_writer& w, int32_t j) {
  const problem& p = w.t.prob;
  const int32_t bk = p.bkx[j];
  if (bk == TVN_BK_RA && p.blx[j] == 0 && p.bux[j] == 1) return bound_line(w, "BV", j, nullptr);
  if (has_lower(bk))
    bound_line(w, "LI", j, &p.blx[j]);
  else
    bound_line(w, "MI", j, nullptr);
  if (bk == TVN_BK_FX)
    bound_line(w, "FX", j, &p.blx[j]); // the type stands by LI
  else if (has_upper(bk))
    bound_line(w, "UI", j, &p.bux[j]);
  // Without a finite bound the type would be lost: an infinite upper one carries it.
  if (bk == TVN_BK_FR) bound_line(w, "UI", j, &bound_infinity);
}

void continuous_bounds(mps_writer& w, int32_t j) {
  const problem& p = w.t.prob;
  switch (p.bkx[j]) {
  case TVN_BK_FR: return bound_line(w, "FR", j, nullptr);
  case TVN_BK_FX: return bound_line(w, "FX", j, &p.blx[j]);
  case TVN_BK_UP: bound_line(w, "MI", j, nullptr); return bound_line(w, "UP", j, &p.bux[j]);
  default:
    if (p.blx[j] != 0) bound_line(w, "LO", j, &p.blx[j]);
    if (p.bkx[j] == TVN_BK_RA) bound_line(w, "UP", j, &p.bux[j]);
  }
}

void write_bounds(mps_writer& w) {
  const problem& p = w.t.prob;
  const bool integers = TVNP_getintparam(w.t, TVN_IPAR_WRITE_MPS_INT) != 0 && !p.vartype.empty();
  put(w, "BOUNDS\n");
  for (int32_t j = 0; j < p.numvar && is_going(w); j++) {
    if (integers && p.vartype[j] == TVN_VAR_TYPE_INT)
      integer_bounds(w, j);
    else
      continuous_bounds(w, j);
  }
}

struct q_entry {
  int32_t col, row;
  double val;
};

// The terms [begin, end) of the pool as a full matrix, column by column.
void write_qsection(mps_writer& w, int32_t row, int64_t begin, int64_t end) {
  if (begin >= end) return;
  const qterms& q = w.t.prob.q;
  vec<q_entry> full(*w.t.sys);
  full.reserve(2 * (end - begin));
  for (int64_t k = begin; k < end; k++) {
    const bool diagonal = q.subi[k] == q.subj[k];
    full.push_back({q.subj[k], q.subi[k], diagonal ? q.val[k] : 0.5 * q.val[k]});
    if (!diagonal) full.push_back({q.subi[k], q.subj[k], 0.5 * q.val[k]});
  }
  std::sort(full.begin(), full.end(),
            [](const q_entry& x, const q_entry& y) { return x.col != y.col ? x.col < y.col : x.row < y.row; });
  put(w, "QSECTION      ");
  if (row < 0)
    put_objective(w, 0);
  else
    put_item(w, TVN_PI_CON, row);
  put(w, "\n");
  for (const q_entry& e : full) {
    if (!is_going(w)) return;
    put(w, "    ");
    put_item(w, TVN_PI_VAR, e.col);
    put(w, "  ");
    put_item(w, TVN_PI_VAR, e.row);
    put(w, "  ");
    put_number(w, e.val);
    put(w, "\n");
  }
}

void write_quadratic(mps_writer& w) {
  const problem& p = w.t.prob;
  write_qsection(w, -1, p.q.objbegin, p.q.objend);
  if (p.q.conbegin.empty()) return;
  for (int32_t k = 0; k < p.numcon; k++)
    if (is_written(w, k)) write_qsection(w, k, p.q.conbegin[k], p.q.conend[k]);
}

void write_cones(mps_writer& w) {
  const cones& c = w.t.prob.cone;
  for (int32_t k = 0; k < w.t.prob.numcone && is_going(w); k++) {
    put(w, "CSECTION      ");
    put_item(w, TVN_PI_CONE, k);
    put(w, "  ");
    char text[40];
    put_padded(w, {text, static_cast<size_t>(realtostr(w.precision, c.par[k], text))}, 12);
    put(w, c.type[k] == TVN_CT_QUAD ? "   QUAD\n" : "   RQUAD\n");
    for (int32_t q = c.begin[k]; q < c.end[k]; q++) {
      put(w, "    ");
      put_item(w, TVN_PI_VAR, c.members[q]);
      put(w, "\n");
    }
  }
}

// The parameters as comments.
void write_parameters(mps_writer& w) {
  const param_tables& tables = w.t.env->params;
  const param_values& values = w.t.params;
  char line[256], number[40];
  put(w, "*\n*BEGIN TOVAN\n*\n");
  for (size_t k = 0; k < tables.iname.size(); k++) {
    std::snprintf(line, sizeof line, "*%-33s %-18d\n", tables.iname[k].data(), static_cast<int>(values.ival[k]));
    put(w, line);
  }
  for (size_t k = 0; k < tables.dname.size(); k++) {
    const auto r = std::to_chars(number, number + sizeof number, values.dval[k], std::chars_format::scientific, 8);
    *r.ptr = '\0';
    std::snprintf(line, sizeof line, "*%-33s %-18s\n", tables.dname[k].data(), number);
    put(w, line);
  }
  for (size_t k = 0; k < tables.sname.size(); k++) {
    std::snprintf(line, sizeof line, "*%-33s ", tables.sname[k].data());
    put(w, line);
    put(w, values.sval[k].view());
    put(w, "\n");
  }
  put(w, "*END TOVAN\n*\n");
}

} // namespace

int32_t realtostr(int32_t precision, double value, char* to) noexcept {
  precision = std::min(std::max(precision, 1), 20);
  const double size = std::fabs(value);
  if (size == 0) {
    to[0] = '0';
    to[1] = '\0';
    return 1;
  }
  const std::chars_format form = size > 0.1 && size <= 100 ? std::chars_format::general : std::chars_format::scientific;
  // The shortest text that reads back to the same double, when that is within the precision: its digits are no noise.
  std::to_chars_result r = std::to_chars(to, to + 39, value, form);
  const auto digits = std::count_if(to, std::find(to, r.ptr, 'e'), [](char c) { return c >= '0' && c <= '9'; });
  if (digits > precision) r = std::to_chars(to, to + 39, value, form, precision);
  char* end = r.ptr;
  char* exponent = std::find(to, end, 'e');
  char* cut = exponent;
  if (std::find(to, exponent, '.') != exponent) {
    while (cut[-1] == '0') cut--;
    if (cut[-1] == '.') cut--;
  }
  end = std::copy(exponent, end, cut);
  *end = '\0';
  return static_cast<int32_t>(end - to);
}

TVNrescodee TVN_writemps(task& t, bool generic, sysfile& file, const char* filename) {
  mps_writer w{t, file};
  w.generic = generic;
  w.quoted =
      TVNP_getintparam(t, TVN_IPAR_WRITE_MPS_STRICT) == 0 && TVNP_getintparam(t, TVN_IPAR_WRITE_MPS_QUOTED_NAMES) != 0;
  w.freerows = TVNP_getintparam(t, TVN_IPAR_WRITE_FREE_CON) != 0;
  w.precision = TVNP_getintparam(t, TVN_IPAR_WRITE_PRECISION);
  w.block.reset(*t.sys, blocksize);
  write_head(w);
  for (void (*section)(mps_writer&) :
       {write_rows, write_columns, write_rhs_and_ranges, write_bounds, write_quadratic, write_cones})
    if (is_going(w)) section(w);
  put(w, "ENDATA\n");
  if (TVNP_getintparam(t, TVN_IPAR_WRITE_DATA_PARAM) != 0) write_parameters(w);
  flush(w);
  if (w.code != TVN_RES_OK) return w.code;
  return report_file(t, label, __LINE__, w.state, filename);
}

} // namespace tvn
