// Formats from names, and the entries that read and write a problem.
//
// Reading: resolve the name, find format and compression, open (a failure, and a format without a reader, leaves the
// task as it was), drop the old problem, hand the open file to the reader of the format, fill the information items. A
// failed read leaves what was entered so far. The file is closed on every path by its owner in this file.
#include "tovan/files/tovanio.h"

#include "tovan/data/data.h"
#include "tovan/files/lp/tovanrlp.h"
#include "tovan/files/lp/tovanwlp.h"
#include "tovan/files/mps/mpswrite.h"
#include "tovan/files/mps/tovanmps.h"
#include "tovan/files/opf/tovanropf.h"
#include "tovan/files/opf/tovanwopf.h"
#include "tovan/task/api.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/names.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"
#include "tovan/task/symcontext.h"

#include <array>
#include <cmath>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanio";

constexpr const char* read_extensions[] = {"tbt", "mps", "lp", "opf", "xml", "fmps"};
constexpr int32_t read_formats[] = {TVN_DATA_FORMAT_TBT, TVN_DATA_FORMAT_MPS, TVN_DATA_FORMAT_LP,
                                    TVN_DATA_FORMAT_OP,  TVN_DATA_FORMAT_XML, TVN_DATA_FORMAT_FREE_MPS};

char upper(char c) noexcept { return c >= 'a' && c <= 'z' ? static_cast<char>(c - 'a' + 'A') : c; }

bool equal_text(bool matchcase, std::string_view a, std::string_view b) noexcept {
  if (matchcase) return a == b;
  return std::equal(a.begin(), a.end(), b.begin(), b.end(), [](char x, char y) { return upper(x) == upper(y); });
}

// The rows with quadratic terms, and all terms with those of the objective.
void count_quadratic(const problem& p, int32_t& numq, int64_t& numqnz) noexcept {
  numq = 0;
  numqnz = p.q.objend - p.q.objbegin;
  if (p.q.conbegin.empty()) return;
  for (int32_t k = 0; k < p.numcon; k++) {
    const int64_t num = num_qcon_terms(p, k);
    numq += num > 0;
    numqnz += num;
  }
}

TVNrescodee fill_items(task& t) {
  const problem& p = t.prob;
  int64_t numanz = 0, numqnz = 0;
  int32_t numq = 0;
  if (const TVNrescodee bad = TVN_getnumanz64(&t, &numanz)) return bad;
  count_quadratic(p, numq, numqnz);
  TVNP_putintinf(t, TVN_IINF_RD_NUMCON, p.numcon);
  TVNP_putintinf(t, TVN_IINF_RD_NUMVAR, p.numvar);
  TVNP_putintinf(t, TVN_IINF_RD_NUMCONE, p.numcone);
  TVNP_putintinf(t, TVN_IINF_RD_NUMINTVAR, count_integers(p));
  TVNP_putintinf(t, TVN_IINF_RD_NUMQ, numq);
  TVNP_putintinf(t, TVN_IINF_RD_PROTYPE, problem_type(t));
  TVNP_putlintinf(t, TVN_LIINF_RD_NUMANZ, numanz);
  TVNP_putlintinf(t, TVN_LIINF_RD_NUMQNZ, numqnz);
  return TVN_RES_OK;
}

// A format that this library knows by name only has its code and no reader.
TVNrescodee check_readable(task& t, int32_t format) {
  switch (format) {
  case TVN_DATA_FORMAT_MPS:
  case TVN_DATA_FORMAT_LP:
  case TVN_DATA_FORMAT_OP:
  case TVN_DATA_FORMAT_FREE_MPS: return TVN_RES_OK;
  case TVN_DATA_FORMAT_EXTENSION: return report(t, label, __LINE__, TVN_RES_ERR_INVALID_FORMAT_TYPE, format);
  default: return report(t, label, __LINE__, TVN_RES_ERR_READ_FORMAT, format);
  }
}

TVNrescodee dispatch_read(task& t, int32_t format, sysfile& file, const char* name) {
  if (format == TVN_DATA_FORMAT_LP) return TVN_readlpfile(t, file, name);
  if (format == TVN_DATA_FORMAT_OP) return TVN_readopf(t, file, name);
  const bool isfree = format == TVN_DATA_FORMAT_FREE_MPS;
  return TVN_readmps(t, isfree ? TVN_MPS_FORMAT_FREE : TVNP_getintparam(t, TVN_IPAR_READ_MPS_FORMAT), file, name);
}

// Counts a file that is read or written; on every path.
struct file_scope {
  int32_t& count;
  explicit file_scope(task& t) noexcept : count(t.infile) { count++; }
  ~file_scope() { count--; }
  file_scope(const file_scope&) = delete;
  file_scope& operator=(const file_scope&) = delete;
};

// Old data go, new data come, the callbacks learn of begin and end.
TVNrescodee read_open_file(task& t, int32_t format, sysfile& file, const char* name) {
  delete_task_data(t);
  t.prob.objsense = TVN_OBJECTIVE_SENSE_UNDEFINED; // of the problem before; the file or the parameter says anew
  t.taskname.free();
  if (logs_files(t)) echo(t, TVN_STREAM_LOG, "Start reading.\n");
  const double start = TVN_sysenv_gettime();
  TVNrescodee code = TVN_tovanlog(&t, TVN_CALLBACK_BEGIN_READ);
  if (code == TVN_RES_OK) code = dispatch_read(t, format, file, name);
  const double seconds = TVN_sysenv_gettime() - start;
  TVNP_putdouinf(t, TVN_DINF_RD_TIME, seconds);
  if (code == TVN_RES_OK) code = fill_items(t);
  if (code == TVN_RES_OK && logs_files(t)) echo(t, TVN_STREAM_LOG, "done reading. Time: %.2f\n\n", seconds);
  const TVNrescodee stop = TVN_tovanlog(&t, TVN_CALLBACK_END_READ);
  return code ? code : stop;
}

TVNrescodee read_data(task& t, const char* filename) {
  const file_scope scope(t);
  text name(*t.sys);
  name.assign(filename && *filename ? std::string_view(filename) : TVNP_getstrparam(t, TVN_SPAR_DATA_FILE_NAME));
  const file_format f = read_format(TVNP_getintparam(t, TVN_IPAR_READ_DATA_FORMAT), name.view());
  file_owner file;
  if (const TVNrescodee bad =
          TVN_fopentask(t, name.empty() ? nullptr : name.c_str(), file_mode::read, f.compressed, &file.file))
    return bad;
  if (const TVNrescodee bad = check_readable(t, f.format)) return bad;
  return read_open_file(t, f.format, *file.file, name.c_str());
}

// ---- writing ----

bool ends_in_gz(std::string_view name) noexcept {
  const size_t point = name.rfind('.');
  return point != std::string_view::npos && equal_text(false, name.substr(point + 1), "gz");
}

// Format and compression of a file to be written; the name gets its ending when only a parameter asks for compression.
file_format write_format(const task& t, text& name) {
  int32_t format = TVNP_getintparam(t, TVN_IPAR_WRITE_DATA_FORMAT);
  if (format == TVN_DATA_FORMAT_EXTENSION) {
    const std::span<const char* const> table(read_extensions, std::size(read_extensions) - 1); // "fmps" is read only
    const int32_t k = TVN_lastfileext(false, table, name.view());
    format = k < static_cast<int32_t>(table.size()) ? read_formats[k] : TVN_DATA_FORMAT_MPS;
  }
  const bool wish = TVNP_getintparam(t, TVN_IPAR_WRITE_DATA_COMPRESSED) > 0, gz = ends_in_gz(name.view());
  const bool binary = format == TVN_DATA_FORMAT_TBT;
  if (wish && !gz && !binary) {
    vec<char> longer(*t.sys);
    longer.append(name.c_str(), name.size());
    longer.append(".gz", 3);
    name.assign({longer.data(), static_cast<size_t>(longer.size())});
  }
  return {format, wish || gz || binary};
}

// Rows have no need of names where a file is made of formulas.
bool is_formula_format(int32_t format) noexcept { return format == TVN_DATA_FORMAT_LP || format == TVN_DATA_FORMAT_OP; }

// Formats that this library writes.
bool has_writer(int32_t format) noexcept {
  return format == TVN_DATA_FORMAT_MPS || format == TVN_DATA_FORMAT_FREE_MPS || is_formula_format(format);
}

bool has_all_names(const task& t, int32_t format) noexcept {
  if (!is_formula_format(format)) return TVN_getnamestats(t).numempty == 0 && *objective_name(t) != '\0';
  for (int32_t j = 0; j < t.prob.numvar; j++)
    if (*item_name(t, TVN_PI_VAR, j) == '\0') return false;
  for (int32_t k = 0; k < t.prob.numcone; k++)
    if (*item_name(t, TVN_PI_CONE, k) == '\0') return false;
  return true;
}

// The objective is a row of an MPS file: its name may not be that of a constraint there.
TVNrescodee check_objective_name(task& t) {
  const int32_t i = find_name(t, TVN_PI_CON, objective_name(t));
  if (i < 0 || (t.prob.bkc[i] == TVN_BK_FR && TVNP_getintparam(t, TVN_IPAR_WRITE_FREE_CON) == 0)) return TVN_RES_OK;
  return report(t, label, __LINE__, TVN_RES_ERR_INVALID_OBJ_NAME, objective_name(t));
}

// What no file of a written format can hold: functions of the user, and numbers that are none.
TVNrescodee check_writable(task& t, int32_t format, bool generic) {
  TVNrescodee code = TVN_RES_OK;
  if (format == TVN_DATA_FORMAT_LP)
    code = check_lp_problem(t, generic);
  else if (format == TVN_DATA_FORMAT_OP)
    code = check_opf_problem(t);
  else if (has_nlfunc(t))
    code = report(t, label, __LINE__, TVN_RES_ERR_CANNOT_HANDLE_NL);
  if (!code) code = TVN_checkdata(t);
  if (code) return code;
  for (int32_t k = 0; k < t.prob.numcone; k++)
    if (!std::isfinite(t.prob.cone.par[k]))
      return report(t, label, __LINE__, TVN_RES_ERR_NAN_IN_DOUBLE_DATA, "conepar");
  return generic || is_formula_format(format) ? TVN_RES_OK : check_objective_name(t);
}

TVNrescodee dispatch_write(task& t, int32_t format, bool generic, sysfile& file, const char* name) {
  if (format == TVN_DATA_FORMAT_LP) return TVN_writelpfile(t, generic, file, name);
  if (format == TVN_DATA_FORMAT_OP) return TVN_writeopf(t, generic, opf_options_of(t), file, name);
  return TVN_writemps(t, generic, file, name);
}

TVNrescodee write_data(task& t, const char* filename) {
  if (t.infile > 0)
    return report(t, label, __LINE__, TVN_RES_ERR_INTERNAL, "no file can be written from inside a read or a write");
  const file_scope scope(t);
  text name(*t.sys);
  name.assign(filename && *filename ? std::string_view(filename) : TVNP_getstrparam(t, TVN_SPAR_DATA_FILE_NAME));
  if (name.empty()) return report(t, label, __LINE__, TVN_RES_ERR_FILE_OPEN, "");
  const file_format f = write_format(t, name);
  if (!has_writer(f.format)) return report(t, label, __LINE__, TVN_RES_ERR_INVALID_FORMAT_TYPE, f.format);
  const bool asked = TVNP_getintparam(t, TVN_IPAR_WRITE_GENERIC_NAMES) != 0;
  const bool generic = asked || !has_all_names(t, f.format);
  if (const TVNrescodee bad = check_writable(t, f.format, generic)) return bad;
  file_owner file;
  if (const TVNrescodee bad = TVN_fopentask(t, name.c_str(), file_mode::write, f.compressed, &file.file)) return bad;
  TVNrescodee code = TVN_RES_OK;
  if (generic && !asked) code = report(t, label, __LINE__, TVN_RES_WRN_USING_GENERIC_NAMES);
  if (logs_files(t)) echo(t, TVN_STREAM_LOG, "Start writing.\n");
  const double start = TVN_sysenv_gettime();
  if (code == TVN_RES_OK) code = TVN_tovanlog(&t, TVN_CALLBACK_BEGIN_WRITE);
  if (code == TVN_RES_OK) code = dispatch_write(t, f.format, generic, *file.file, name.c_str());
  sys_code state = sys_code::ok;
  TVN_sysenv_fclose(&file.file, state);
  if (code == TVN_RES_OK) code = report_file(t, label, __LINE__, state, name.c_str());
  if (code == TVN_RES_OK && logs_files(t))
    echo(t, TVN_STREAM_LOG, "done writing. Time: %.2f\n\n", TVN_sysenv_gettime() - start);
  const TVNrescodee stop = TVN_tovanlog(&t, TVN_CALLBACK_END_WRITE);
  return code ? code : stop;
}

const char* sense_word(int32_t sense) noexcept {
  return sense == TVN_OBJECTIVE_SENSE_MINIMIZE ? "min" : sense == TVN_OBJECTIVE_SENSE_MAXIMIZE ? "max" : "undefined";
}

} // namespace

int32_t TVN_lastfileext(bool matchcase, std::span<const char* const> table, std::string_view name) noexcept {
  while (true) {
    const size_t point = name.rfind('.');
    if (point == std::string_view::npos) return static_cast<int32_t>(table.size());
    const std::string_view extension = name.substr(point + 1);
    for (size_t k = 0; k < table.size(); k++)
      if (equal_text(matchcase, extension, table[k])) return static_cast<int32_t>(k);
    name = name.substr(0, point);
  }
}

file_format read_format(int32_t format, std::string_view name) noexcept {
  if (format == TVN_DATA_FORMAT_EXTENSION) {
    const int32_t k = TVN_lastfileext(false, read_extensions, name);
    format = k < static_cast<int32_t>(std::size(read_formats)) ? read_formats[k] : TVN_DATA_FORMAT_MPS;
  }
  return {format, ends_in_gz(name) || format == TVN_DATA_FORMAT_TBT};
}

void read_summary(task& t, int32_t s) {
  if (TVNP_getintparam(t, TVN_IPAR_LOG) < 1) return;
  const char* type = problem_type_word(TVNP_getintinf(t, TVN_IINF_RD_PROTYPE));
  echo(t, s, "Read - objective sense      : %-12s  problem type         : %s\n", sense_word(t.prob.objsense),
       type ? type : "");
  echo(t, s, "Read - number of constraints: %-12d  number of variables  : %-12d\n",
       TVNP_getintinf(t, TVN_IINF_RD_NUMCON), TVNP_getintinf(t, TVN_IINF_RD_NUMVAR));
  echo(t, s, "Read - number of int. var.  : %-12d  number of nz Qs      : %-12d\n",
       TVNP_getintinf(t, TVN_IINF_RD_NUMINTVAR), TVNP_getintinf(t, TVN_IINF_RD_NUMQ));
  echo(t, s, "Read - number of A nonzeros : %-12lld  number of Q nonzeros : %-12lld\n",
       static_cast<long long>(TVNP_getlintinf(t, TVN_LIINF_RD_NUMANZ)),
       static_cast<long long>(TVNP_getlintinf(t, TVN_LIINF_RD_NUMQNZ)));
  echo(t, s, "Read - time                 : %-8.1f\n\n", TVNP_getdouinf(t, TVN_DINF_RD_TIME));
}

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_readdata(TVNtask_t task, const char* filename) {
  return api_change(task, [&](tvn::task& t) { return read_data(t, filename); });
}

TVNrescodee TVN_writedata(TVNtask_t task, const char* filename) {
  return api(task, [&](tvn::task& t) { return write_data(t, filename); });
}

TVNrescodee TVN_readsummary(TVNtask_t task, int32_t whichstream) {
  return api(task, [&](tvn::task& t) {
    if (whichstream < 0 || whichstream >= num_streams)
      return report(t, label, __LINE__, TVN_RES_ERR_INVALID_STREAM, whichstream);
    read_summary(t, whichstream);
    return TVN_RES_OK;
  });
}
