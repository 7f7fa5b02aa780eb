/* A caller that includes the public header and nothing of ours beside it: strict C99, and C++ through caller_cxx.cpp.
 * Solves max 3x + 2y, x + y <= 4, x + 3y <= 6, x, y >= 0. */
#include <tovan.h>

static int failed(TVNrescodee code) { return code != TVN_RES_OK; }

int main(void) {
  static const double c[] = {3, 2}, aval[] = {1, 1, 1, 3};
  static const int32_t ptrb[] = {0, 2}, ptre[] = {2, 4}, asub[] = {0, 1, 0, 1};
  static const int32_t bkc[] = {TVN_BK_UP, TVN_BK_UP}, bkx[] = {TVN_BK_LO, TVN_BK_LO};
  static const double blc[] = {-1e30, -1e30}, buc[] = {4, 6}, blx[] = {0, 0}, bux[] = {1e30, 1e30};
  TVNenv_t env = NULL;
  TVNtask_t task = NULL;
  double xx[2] = {-1, -1}, objective = 0;
  int32_t solsta = TVN_SOL_STA_UNKNOWN;

  if (failed(TVN_makeenv(&env, NULL, NULL, NULL, NULL)) || failed(TVN_initenv(env))) return 1;
  if (failed(TVN_makeemptytask(env, &task))) return 2;
  if (failed(TVN_inputdata(task, 2, 2, 2, 2, c, 0.0, ptrb, ptre, asub, aval, bkc, blc, buc, bkx, blx, bux))) return 3;
  if (failed(TVN_putobjsense(task, TVN_OBJECTIVE_SENSE_MAXIMIZE)) || failed(TVN_optimize(task))) return 4;
  if (failed(TVN_getsolutionstatus(task, TVN_SOL_BAS, NULL, &solsta)) || solsta != TVN_SOL_STA_OPTIMAL) return 5;
  if (failed(TVN_getsolutionslice(task, TVN_SOL_BAS, TVN_SOL_ITEM_XX, 0, 2, xx))) return 6;
  if (failed(TVN_getprimalobj(task, TVN_SOL_BAS, &objective))) return 7;
  if (objective < 12 - 1e-9 || objective > 12 + 1e-9) return 7;
  if (failed(TVN_deletetask(&task)) || failed(TVN_deleteenv(&env))) return 8;
  return xx[0] < 4 - 1e-9 || xx[0] > 4 + 1e-9 || xx[1] < -1e-9 || xx[1] > 1e-9 ? 9 : 0;
}
