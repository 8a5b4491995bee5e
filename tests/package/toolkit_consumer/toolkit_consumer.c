/* A program of somebody who has only the installed package: prints the toolkit's version. */
#include <stdio.h>
#include <vorin_toolkit.h>

int main(void) {
  return puts(vorin_toolkit_version()) < 0;
}
