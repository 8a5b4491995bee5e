/* A program of somebody who has only the installed package: one solve whose answer is
 * known in closed form. Four samples of 2 through a kernel of ones at weight 1 give
 * f = (k . d) / (k . k + w) = 8 / 5. Prints what is wrong and ends with 1, or ends with 0. */
#include <math.h>
#include <stdio.h>
#include <vorin.h>

int main(void) {
  const double K[4] = {1.0, 1.0, 1.0, 1.0};
  const double d[4] = {2.0, 2.0, 2.0, 2.0};
  const double weight = 1.0;
  double f = -1.0;
  double rss = -1.0;
  double slope = -1.0;
  int32_t status = -1;
  vrBRDw_dp_dll(4, 1, K, d, &f, &weight, &rss, &slope, &status);
  if (status != VORIN_SOLVE_OK || !(fabs(f - 1.6) < 1e-12)) {
    printf("status %d, f %.17g\n", (int)status, f);
    return 1;
  }
  return 0;
}
