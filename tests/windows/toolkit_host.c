/* A host in C for the toolkit and the command, the toolkit under a name beyond ASCII:
 *
 *   toolkit_host LIBRARY COMMAND DECAY
 *
 * copies DECAY to a name with an umlaut, reads that by the toolkit, which gets the name as UTF-8
 * and in the code page of the process, and lets the command invert decay.csv to distribution.csv.
 */
#include <process.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

#include "vorin_toolkit.h"

static const wchar_t decay[] = L"Zerfall_\u00e4.csv";

typedef int32_t(__cdecl* Read)(const char*, const vorin_settings*, vorin_result**, char*, int64_t);

static int fails(const char* what) {
  printf("toolkit_host: %s\n", what);
  return 1;
}

/* The name in code page `page`; 0 where that does not have all its letters. */
static int nameIn(UINT page, char* name, int size) {
  BOOL lost = FALSE;
  return WideCharToMultiByte(page, 0, decay, -1, name, size, NULL, page == CP_UTF8 ? NULL : &lost) >
             0 &&
         !lost;
}

int main(int argc, char** argv) {
  const UINT pages[] = {CP_UTF8, CP_ACP};
  char message[VORIN_TOOLKIT_MESSAGE_SIZE];
  char name[64];
  wchar_t command[MAX_PATH];
  HMODULE library;
  FARPROC address;
  Read read;
  int k;
  if (argc != 4 || (library = LoadLibraryA(argv[1])) == NULL) {
    return fails("the library can't be loaded");
  }
  MultiByteToWideChar(CP_ACP, 0, argv[3], -1, command, MAX_PATH);
  if (!CopyFileW(command, decay, FALSE)) {
    return fails("the decay can't be copied");
  }
  address = GetProcAddress(library, "vorin_read_decay");
  if (address == NULL) {
    return fails("no vorin_read_decay");
  }
  memcpy(&read, &address, sizeof read);
  for (k = 0; k < 2; ++k) {
    vorin_result* result = NULL;
    if (nameIn(pages[k], name, (int)sizeof name) &&
        read(name, NULL, &result, message, sizeof message) != VORIN_TOOLKIT_OK) {
      return fails(message);
    }
  }
  MultiByteToWideChar(CP_ACP, 0, argv[2], -1, command, MAX_PATH);
  if (_wspawnl(_P_WAIT, command, command, L"invert", L"decay.csv", L"--out", L"distribution.csv",
               NULL) != 0) {
    return fails("the command does not invert");
  }
  DeleteFileW(decay);
  return 0;
}
