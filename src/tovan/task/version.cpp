// What the library says of itself.
#include "tovan/tables/version.h"

#include "tovan/task/api.h"

#include <array>
#include <cstdio>
#include <cstring>

using namespace tvn;

TVNrescodee TVN_getversion(int32_t* major, int32_t* minor, int32_t* build, int32_t* revision) {
  if (major) *major = version_major;
  if (minor) *minor = version_minor;
  if (build) *build = version_build;
  if (revision) *revision = version_revision;
  return TVN_RES_OK;
}

TVNrescodee TVN_getversionstring(int32_t size, char* buffer) {
  if (!buffer) return TVN_RES_ERR_NULL_POINTER;
  if (size > 0) std::snprintf(buffer, static_cast<size_t>(size), "%s", version_text);
  return TVN_RES_OK;
}

TVNrescodee TVN_checkversion(TVNenv_t env, int32_t major, int32_t minor, int32_t build, int32_t revision) {
  return api(env, [&](tvn::env& e) {
    const std::array<int32_t, 4> own{version_major, version_minor, version_build, version_revision};
    const std::array<int32_t, 4> wanted{major, minor, build, revision};
    if (own == wanted) return TVN_RES_OK;
    const TVNrescodee code = own < wanted ? TVN_RES_ERR_OLDER_DLL : TVN_RES_ERR_NEWER_DLL;
    return report(e, "src/tovan/version", __LINE__, code, own[0], own[1], own[2], own[3], major, minor, build,
                  revision);
  });
}

TVNrescodee TVN_getbuildinfo(char* buildstate, char* builddate, char* buildtool) {
  if (buildstate) *buildstate = '\0';
  if (builddate) std::memcpy(builddate, build_date, sizeof build_date);
  if (buildtool) *buildtool = '\0';
  return TVN_RES_OK;
}
