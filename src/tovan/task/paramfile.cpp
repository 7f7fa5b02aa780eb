// Parameter files and the listing of all parameters.
//
// A file is a line "BEGIN TOVAN", a line of name and value for each parameter, and a line "END TOVAN". What stands
// around the two marks is not read; without marks the whole file is. The comment sign, a character, starts a comment
// anywhere but inside a value that opens with a double quote. So a string that holds the sign, or that would lose a
// blank or a quote, is written in quotes, with \" for a quote; as TVN_putstrparam takes it. One that ends in a
// backslash gets no closing quote, since that would be read as an escaped one. Written, read and written again a file
// is the same byte by byte. What no line can hold (a line end in a value, a sign that numbers or names are made of) is
// refused before the file is opened.
#include "tovan/task/param.h"

#include "misc/numtext.h"
#include "tovan/task/api.h"
#include "tovan/task/fileaccess.h"
#include "tovan/task/log.h"
#include "tovan/task/report.h"

#include <charconv>
#include <cmath>
#include <cstring>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/paramfile";
constexpr std::string_view begin_mark = "BEGIN TOVAN", end_mark = "END TOVAN";

// ---- writing ----

// Name and value in columns of 48 and at least `width` characters.
void put_line(sysfile& f, const char* name, std::string_view value, int32_t width, sys_code& code) {
  TVN_sysenv_fprintf(f, code, "%-48s %-*.*s\n", name, width, static_cast<int>(value.size()), value.data());
}

char comment_sign(const task& t) noexcept {
  const std::string_view sign = trim(TVNP_getstrparam(t, TVN_SPAR_PARAM_COMMENT_SIGN));
  return sign.empty() ? '\0' : sign[0];
}

bool is_alphanumeric(char c) noexcept { return (c >= '0' && c <= '9') || ((c | 32) >= 'a' && (c | 32) <= 'z'); }

bool needs_quotes(std::string_view value, char sign) noexcept {
  if (value.empty()) return false;
  return value[0] == '"' || (sign && value.find(sign) != std::string_view::npos) || trim(value).size() != value.size();
}

void put_quoted(vec<char>& to, std::string_view value) {
  to.push_back('"');
  for (const char c : value) {
    if (c == '"') to.push_back('\\');
    to.push_back(c);
  }
  if (value.back() != '\\') to.push_back('"');
}

// Infinity as a number that every reader takes for infinite.
std::string_view double_text(double value, char (&to)[64]) noexcept {
  if (std::isinf(value)) return value > 0 ? "1.00000000e+999" : "-1.00000000e+999";
  return {to, static_cast<size_t>(put_scientific(to, value, 8))};
}

void write_params(const task& t, sysfile& f, sys_code& code) {
  const param_tables& tables = t.env->params;
  const char sign = comment_sign(t);
  char value[64];
  TVN_sysenv_fputs(f, "BEGIN TOVAN\n\n", code);
  for (size_t k = 0; k < tables.iname.size(); k++) {
    const char* end = std::to_chars(value, value + sizeof value, t.params.ival[k]).ptr;
    put_line(f, tables.iname[k].data(), {value, static_cast<size_t>(end - value)}, 18, code);
  }
  TVN_sysenv_fputs(f, "\n", code);
  for (size_t k = 0; k < tables.dname.size(); k++)
    put_line(f, tables.dname[k].data(), double_text(t.params.dval[k], value), 18, code);
  TVN_sysenv_fputs(f, "\n", code);
  vec<char> quoted(*t.sys);
  for (size_t k = 0; k < tables.sname.size(); k++) {
    std::string_view plain = t.params.sval[k].view();
    if (needs_quotes(plain, sign)) {
      quoted.clear();
      put_quoted(quoted, plain);
      plain = {quoted.data(), static_cast<size_t>(quoted.size())};
    }
    put_line(f, tables.sname[k].data(), plain, 0, code);
  }
  TVN_sysenv_fputs(f, "\nEND TOVAN\n", code);
}

// Every value survives a line of its own.
TVNrescodee check_writable(task& t) noexcept {
  const param_tables& tables = t.env->params;
  const char sign = comment_sign(t);
  if (sign && (is_alphanumeric(sign) || std::strchr("_+-.\"", sign)))
    return report(t, label, __LINE__, TVN_RES_ERR_PARAM_VALUE_STR,
                  TVNP_getstrparam(t, TVN_SPAR_PARAM_COMMENT_SIGN).data(),
                  tables.sname[TVN_SPAR_PARAM_COMMENT_SIGN].data());
  for (size_t k = 0; k < tables.sname.size(); k++)
    if (t.params.sval[k].view().find('\n') != std::string_view::npos)
      return report(t, label, __LINE__, TVN_RES_ERR_PARAM_VALUE_STR, t.params.sval[k].c_str(), tables.sname[k].data());
  return TVN_RES_OK;
}

TVNrescodee write_file(task& t, const char* filename) {
  text name(*t.sys);
  name.assign(filename && *filename ? std::string_view(filename) : TVNP_getstrparam(t, TVN_SPAR_PARAM_WRITE_FILE_NAME));
  if (name.empty()) return report(t, label, __LINE__, TVN_RES_ERR_INVALID_FILE_NAME, "");
  if (const TVNrescodee bad = check_writable(t)) return bad;
  const double start = TVN_sysenv_gettime();
  file_owner file;
  if (const TVNrescodee bad = TVN_fopentask(t, name.c_str(), file_mode::write, false, &file.file)) return bad;
  if (logs_files(t)) echo(t, TVN_STREAM_LOG, "Writing %s file:  %s\n", "par", name.c_str());
  sys_code code = sys_code::ok;
  write_params(t, *file.file, code);
  TVN_sysenv_fclose(&file.file, code);
  if (const TVNrescodee bad = report_file(t, label, __LINE__, code, name.c_str())) return bad;
  if (logs_files(t)) echo(t, TVN_STREAM_LOG, "done writing. Time: %.2f\n\n", TVN_sysenv_gettime() - start);
  return TVN_RES_OK;
}

// ---- reading ----

struct param_line {
  std::string_view name, value;
};

// Length of a quoted text with its quotes; all of it when no closing quote stands.
size_t quoted_length(std::string_view text) noexcept {
  for (size_t k = 1; k < text.size(); k++) {
    if (text[k] == '"') return k + 1;
    if (text[k] == '\\' && k + 1 < text.size() && text[k + 1] == '"') k++;
  }
  return text.size();
}

// False for a line without a parameter. sign: the comment sign, 0 for none.
bool split_line(std::string_view line, char sign, param_line& out) noexcept {
  const auto before_sign = [&](std::string_view text) { return sign ? text.substr(0, text.find(sign)) : text; };
  line = trim(line);
  const size_t end = std::min({line.find_first_of(" \t"), sign ? line.find(sign) : line.size(), line.size()});
  out.name = line.substr(0, end);
  const std::string_view rest = trim(line.substr(end));
  out.value = rest.starts_with('"') && sign != '"' ? rest.substr(0, quoted_length(rest)) : trim(before_sign(rest));
  return !out.name.empty();
}

TVNrescodee put_line_value(task& t, const param_line& p, std::string_view line) {
  text name(*t.sys), value(*t.sys);
  name.assign(p.name);
  value.assign(p.value);
  if (TVNP_getintparam(t, TVN_IPAR_PARAM_READ_CASE_NAME) == 0) {
    vec<char> folded(*t.sys);
    folded.append(p.name.data(), static_cast<int64_t>(p.name.size()));
    for (char& c : folded)
      if (c >= 'a' && c <= 'z') c = static_cast<char>(c - 'a' + 'A');
    name.assign({folded.data(), p.name.size()});
  }
  if (TVNP_getintparam(t, TVN_IPAR_LOG_PARAM) > 0) echo(t, TVN_STREAM_LOG, "%-36s %-s\n", name.c_str(), value.c_str());
  int32_t partype = 0, param = 0;
  if (const TVNrescodee bad = TVN_whichparam(&t, name.c_str(), &partype, &param)) return bad;
  const TVNrescodee code = put_param_text(t, partype, param, name.c_str(), value.c_str());
  if (partype == TVN_PAR_INVALID_TYPE)
    echo(t, TVN_STREAM_MSG, "The error occured in line:\n%.*s\n", static_cast<int>(line.size()), line.data());
  return code;
}

// True when the mark was met; the file then stands behind it.
bool skip_to_begin(sysfile& f, vec<char>& line, sys_code& code) {
  while (TVN_readline(f, line, code))
    if (std::string_view(line.data()).starts_with(begin_mark)) return true;
  return false;
}

TVNrescodee read_params(task& t, sysfile& f, char sign, sys_code& code) {
  vec<char> line(*t.sys);
  const bool marked = skip_to_begin(f, line, code);
  if (!marked) TVN_sysenv_frewind(f, code);
  const bool ignoreerrors = TVNP_getintparam(t, TVN_IPAR_PARAM_READ_IGN_ERROR) != 0;
  while (TVN_readline(f, line, code)) {
    const std::string_view present = line.data();
    if (marked && present.starts_with(end_mark)) break;
    param_line p;
    if (!split_line(present, sign, p)) continue;
    const TVNrescodee bad = put_line_value(t, p, present);
    if (bad && !ignoreerrors) return bad;
  }
  return TVN_RES_OK;
}

TVNrescodee read_file(task& t) {
  text name(*t.sys);
  name.assign(TVNP_getstrparam(t, TVN_SPAR_PARAM_READ_FILE_NAME));
  if (name.empty()) return TVN_RES_OK;
  const double start = TVN_sysenv_gettime();
  sys_code code = sys_code::ok;
  file_owner file(TVN_sysenv_fopen(*t.sys, name.c_str(), file_mode::read, false, code));
  if (!file.file) return report_result(t, label, __LINE__, TVN_RES_WRN_OPEN_PARAM_FILE, name.c_str());
  if (logs_files(t)) echo(t, TVN_STREAM_LOG, "Start reading.\n");
  if (const TVNrescodee bad = read_params(t, *file.file, comment_sign(t), code)) return bad;
  if (const TVNrescodee bad = report_file(t, label, __LINE__, code, name.c_str())) return bad;
  if (logs_files(t)) echo(t, TVN_STREAM_LOG, "done reading. Time: %.2f\n\n", TVN_sysenv_gettime() - start);
  return TVN_RES_OK;
}

// ---- listing ----

bool has_minimum(int32_t kind) noexcept { return kind != 1 && kind != 3; }
bool has_maximum(int32_t kind) noexcept { return kind != 0 && kind != 3; }

void print_integers(task& t) noexcept {
  const param_tables& tables = t.env->params;
  echo(t, TVN_STREAM_MSG, "Integer parameters\n");
  const auto limit = [&](bool has, int32_t value) {
    if (has) {
      echo(t, TVN_STREAM_MSG, "   %-18d", value);
    } else {
      echo(t, TVN_STREAM_MSG, "   %-18s", "NONE");
    }
  };
  for (size_t k = 0; k < tables.iname.size(); k++) {
    echo(t, TVN_STREAM_MSG, "%-3d %-48s: %-18d", static_cast<int>(k), tables.iname[k].data(), t.params.ival[k]);
    limit(has_minimum(tables.ikind[k]), tables.imin[k]);
    limit(has_maximum(tables.ikind[k]), tables.imax[k]);
    echo(t, TVN_STREAM_MSG, "\n");
  }
}

void print_doubles(task& t) noexcept {
  const param_tables& tables = t.env->params;
  echo(t, TVN_STREAM_MSG, "\nDouble parameters\n");
  const auto limit = [&](bool has, double value) {
    if (has) {
      echo(t, TVN_STREAM_MSG, "   %-18.8e", value);
    } else {
      echo(t, TVN_STREAM_MSG, "   %-18s", "NONE");
    }
  };
  for (size_t k = 0; k < tables.dname.size(); k++) {
    echo(t, TVN_STREAM_MSG, "%-3d %-48s: %-18.8e", static_cast<int>(k), tables.dname[k].data(), t.params.dval[k]);
    limit(has_minimum(tables.dkind[k]), tables.dmin[k]);
    limit(has_maximum(tables.dkind[k]), tables.dmax[k]);
    echo(t, TVN_STREAM_MSG, "\n");
  }
}

void print_strings(task& t) noexcept {
  const param_tables& tables = t.env->params;
  echo(t, TVN_STREAM_MSG, "\nString parameters\n");
  for (size_t k = 0; k < tables.sname.size(); k++)
    echo(t, TVN_STREAM_MSG, "%-3d %-48s: %-s\n", static_cast<int>(k), tables.sname[k].data(), t.params.sval[k].c_str());
}

} // namespace

} // namespace tvn

using namespace tvn;

TVNrescodee TVN_writeparamfile(TVNtask_t task, const char* filename) {
  return api(task, [&](tvn::task& t) { return write_file(t, filename); });
}

TVNrescodee TVN_readparamfile(TVNtask_t task) {
  return api_change(task, [&](tvn::task& t) { return read_file(t); });
}

TVNrescodee TVN_printparam(TVNtask_t task) {
  return api(task, [&](tvn::task& t) {
    print_integers(t);
    print_doubles(t);
    print_strings(t);
    return TVN_RES_OK;
  });
}
