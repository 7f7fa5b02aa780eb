/* Reads a problem file, solves it, prints the log while it runs and the solution summary, and writes the solution.
 *
 *   solve FILE [NAME=VALUE ...] [-o SOLUTION]
 *
 * NAME=VALUE sets a parameter, for instance TVN_IPAR_OPTIMIZER=TVN_OPTIMIZER_PRIMAL_SIMPLEX or
 * TVN_DPAR_OPTIMIZER_MAX_TIME=10. Ctrl-C stops the optimizer and what stands is still reported.
 * Exit status: 0 the run ended by itself, 1 it was stopped by a limit or by Ctrl-C, 2 an error. */
#include <signal.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>

#include "tovan.h"

static volatile sig_atomic_t interrupted = 0;

static void on_interrupt(int sig) {
  (void)sig;
  interrupted = 1;
}

static int32_t callback(TVNtask_t task, void *handle, int32_t code) {
  (void)task;
  (void)handle;
  (void)code;
  return interrupted; /* nonzero stops the optimizer */
}

static void print(void *handle, const char *text) { fputs(text, handle); }

/* "NAME=VALUE" through TVN_putparam. */
static TVNrescodee set_parameter(TVNtask_t task, const char *argument) {
  char name[256];
  const char *equals = strchr(argument, '=');
  size_t len = equals ? (size_t)(equals - argument) : sizeof name;
  if (len >= sizeof name) {
    fprintf(stderr, "solve: '%s' is not of the form NAME=VALUE\n", argument);
    return TVN_RES_ERR_PARAM_NAME;
  }
  memcpy(name, argument, len);
  name[len] = '\0';
  return TVN_putparam(task, name, equals + 1);
}

/* One line per constraint and variable: name, status key, value, dual of the lower and of the upper bound. */
static TVNrescodee write_items(TVNtask_t task, FILE *out, int32_t accmode, int32_t num) {
  static const char *const keys[] = {"UN", "BS", "SB", "LL", "UL", "EQ", "**"};
  for (int32_t i = 0; i < num; i++) {
    char name[1024] = "";
    int32_t sk = 0;
    double x = 0, sl = 0, su = 0;
    TVNrescodee r = accmode == TVN_ACC_CON ? TVN_getconname(task, i, sizeof name, name)
                                           : TVN_getvarname(task, i, sizeof name, name);
    if (r == TVN_RES_OK) r = TVN_getsolutioni(task, accmode, i, TVN_SOL_BAS, &sk, &x, &sl, &su, NULL);
    if (r != TVN_RES_OK) return r;
    fprintf(out, "%-8s %-24s %s %24.16e %24.16e %24.16e\n", accmode == TVN_ACC_CON ? "con" : "var", name, keys[sk], x, sl,
            su);
  }
  return TVN_RES_OK;
}

static TVNrescodee write_solution(TVNtask_t task, const char *path) {
  int32_t numcon = 0, numvar = 0, defined = 0;
  TVNrescodee r = TVN_solutiondef(task, TVN_SOL_BAS, &defined);
  if (r != TVN_RES_OK || !defined) return r;
  FILE *out = fopen(path, "w");
  if (!out) {
    fprintf(stderr, "solve: cannot write '%s'\n", path);
    return TVN_RES_ERR_FILE_OPEN;
  }
  r = TVN_getnumcon(task, &numcon);
  if (r == TVN_RES_OK) r = TVN_getnumvar(task, &numvar);
  if (r == TVN_RES_OK) r = write_items(task, out, TVN_ACC_CON, numcon);
  if (r == TVN_RES_OK) r = write_items(task, out, TVN_ACC_VAR, numvar);
  if (fclose(out) != 0 && r == TVN_RES_OK) r = TVN_RES_ERR_FILE_WRITE;
  return r;
}

int main(int argc, char **argv) {
  TVNenv_t env = NULL;
  TVNtask_t task = NULL;
  TVNrescodee trm = TVN_RES_OK;
  const char *file = NULL, *solution = NULL;

  TVNrescodee r = TVN_makeenv(&env, NULL, NULL, NULL, NULL);
  if (r == TVN_RES_OK) r = TVN_initenv(env);
  if (r == TVN_RES_OK) r = TVN_maketask(env, 0, 0, &task);
  if (r == TVN_RES_OK) r = TVN_linkfunctotaskstream(task, TVN_STREAM_LOG, stdout, print);
  if (r == TVN_RES_OK) r = TVN_putcallbackfunc(task, callback, NULL);

  for (int k = 1; k < argc && r == TVN_RES_OK; k++) {
    if (strcmp(argv[k], "-o") == 0 && k + 1 < argc) solution = argv[++k];
    else if (!file) file = argv[k];
    else r = set_parameter(task, argv[k]);
  }
  if (r == TVN_RES_OK && !file) {
    fprintf(stderr, "usage: solve FILE [NAME=VALUE ...] [-o SOLUTION]\n");
    r = TVN_RES_ERR_INVALID_FILE_NAME;
  }
  signal(SIGINT, on_interrupt);
  if (r == TVN_RES_OK) r = TVN_readdata(task, file);
  if (r == TVN_RES_OK) r = TVN_readsummary(task, TVN_STREAM_LOG);
  if (r == TVN_RES_OK) r = TVN_optimizetrm(task, &trm);
  if (r == TVN_RES_OK) r = TVN_solutionsummary(task, TVN_STREAM_LOG);
  if (r == TVN_RES_OK && solution) r = write_solution(task, solution);

  if (r != TVN_RES_OK || trm != TVN_RES_OK) {
    char name[TVN_MAX_STR_LEN], what[TVN_MAX_STR_LEN];
    TVN_getcodedesc(r != TVN_RES_OK ? r : trm, name, what);
    fprintf(stderr, "solve: %s (%s)\n", what, name);
  }
  TVN_deletetask(&task);
  TVN_deleteenv(&env);
  return r != TVN_RES_OK ? 2 : trm != TVN_RES_OK ? 1 : 0;
}
