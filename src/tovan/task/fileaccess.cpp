// Files on behalf of a task. See fileaccess.h.
#include "tovan/task/fileaccess.h"

#include "tovan/task/log.h"
#include "tovan/task/param.h"
#include "tovan/task/report.h"

#include <cstring>

namespace tvn {

namespace {

constexpr const char* label = "src/tovan/tovanio";

constexpr int64_t longest_line = int64_t{1} << 30; // what has no line end before is no file of text

} // namespace

TVNrescodee report_file(task& t, const char* from, int line, sys_code code, const char* name) noexcept {
  return code == sys_code::ok ? TVN_RES_OK : report(t, from, line, TVN_sysrestores(code), name);
}

TVNrescodee TVN_fopentask(task& t, const char* name, file_mode mode, bool compressed, sysfile** out) {
  *out = nullptr;
  if (!name) return report(t, label, __LINE__, TVN_RES_ERR_INVALID_FILE_NAME, "");
  sys_code code = sys_code::ok;
  *out = TVN_sysenv_fopen(*t.sys, name, mode, compressed, code);
  if (code == sys_code::ok && logs_files(t) && t.streams.running == 0)
    echo(t, TVN_STREAM_MSG, "Open file '%s'\n", name);
  return report_file(t, label, __LINE__, code, name);
}

bool TVN_readline(sysfile& file, vec<char>& line, sys_code& result) {
  line.clear();
  char piece[1024];
  while (TVN_sysenv_fgets(file, piece, sizeof piece, result)) {
    if (line.size() > longest_line) result = sys_code::file_read;
    if (result != sys_code::ok) break;
    line.append(piece, static_cast<int64_t>(std::strlen(piece)));
    if (line.empty() || line.back() != '\n') continue;
    line.pop_back();
    if (!line.empty() && line.back() == '\r') line.pop_back();
    line.push_back('\0');
    return true;
  }
  const bool some = !line.empty();
  line.push_back('\0');
  return some && result == sys_code::ok;
}

bool logs_files(const task& t) noexcept {
  return TVNP_getintparam(t, TVN_IPAR_LOG) > 0 && TVNP_getintparam(t, TVN_IPAR_LOG_FILE) > 0;
}

} // namespace tvn
