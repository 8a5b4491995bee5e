/* A host in C for the toolkit and the command, with names beyond ASCII:
 *
 *   toolkit_host LIBRARY COMMAND DECAY
 *
 * copies DECAY to such names and reads them by the toolkit, which gets them as UTF-8 and, where
 * that has their letters, in the code page of the process. Then it lets the command invert one of
 * them into a folder with such a name, and moves the result to distribution.csv.
 */
#include <process.h>
#include <stdio.h>
#include <string.h>
#include <windows.h>

#include "vorin_toolkit.h"

/* The last letter of the second has 4 bytes in UTF-8 and two 16-bit words in Windows' own text. */
static const wchar_t* const decays[] = {L"Zerfall_\u00e4\u00df.csv",
                                        L"Dekay_\u00e4\u00df_\u6e2c\u5b9a_\U0001d6fd.csv"};
static const wchar_t folder[] = L"Ergebnis_\u00fc_\u6e2c\u5b9a";
static const wchar_t out[] = L"Ergebnis_\u00fc_\u6e2c\u5b9a\\Verteilung_\u00f6\u6e2c.csv";
static const wchar_t json[] = L"Ergebnis_\u00fc_\u6e2c\u5b9a\\Bericht_\u00f6\u6e2c.json";

typedef int32_t(__cdecl* Read)(const char*, const vorin_settings*, vorin_result**, char*, int64_t);

static int fails(const char* what) {
  printf("toolkit_host: %s\n", what);
  return 1;
}

/* The name of decay `k` in code page `page`; 0 where that does not have all its letters. */
static int nameIn(UINT page, int k, char* name, int size) {
  BOOL lost = FALSE;
  return WideCharToMultiByte(page, 0, decays[k], -1, name, size, NULL,
                             page == CP_UTF8 ? NULL : &lost) > 0 &&
         !lost;
}

/* Reads each decay under each of its names; what went wrong, or null. */
static const char* readAll(Read read) {
  static char message[VORIN_TOOLKIT_MESSAGE_SIZE];
  const UINT pages[] = {CP_UTF8, CP_ACP};
  char name[64];
  int k, p;
  for (k = 0; k < 2; ++k) {
    for (p = 0; p < 2; ++p) {
      vorin_result* result = NULL;
      if (nameIn(pages[p], k, name, (int)sizeof name) &&
          read(name, NULL, &result, message, sizeof message) != VORIN_TOOLKIT_OK) {
        return message;
      }
    }
  }
  return NULL;
}

/* Whether the file `name` has the bytes of `text`. */
static int holds(const wchar_t* name, const char* text) {
  static char content[1 << 20];
  FILE* const file = _wfopen(name, L"rb");
  if (file == NULL) {
    return 0;
  }
  content[fread(content, 1, sizeof content - 1, file)] = '\0';
  fclose(file);
  return strstr(content, text) != NULL;
}

int main(int argc, char** argv) {
  char name[64];
  wchar_t command[MAX_PATH];
  const char* why;
  HMODULE library;
  FARPROC address;
  Read read;
  int k;
  if (argc != 4 || (library = LoadLibraryA(argv[1])) == NULL) {
    return fails("the library can't be loaded");
  }
  MultiByteToWideChar(CP_ACP, 0, argv[3], -1, command, MAX_PATH);
  for (k = 0; k < 2; ++k) {
    if (!CopyFileW(command, decays[k], FALSE)) {
      return fails("the decay can't be copied");
    }
  }
  address = GetProcAddress(library, "vorin_read_decay");
  if (address == NULL) {
    return fails("no vorin_read_decay");
  }
  memcpy(&read, &address, sizeof read);
  why = readAll(read);
  if (why != NULL) {
    return fails(why);
  }
  MultiByteToWideChar(CP_ACP, 0, argv[2], -1, command, MAX_PATH);
  if (_wspawnl(_P_WAIT, command, command, L"invert", decays[1], L"--out", out, L"--json", json,
               NULL) != 0) {
    return fails("the command does not invert");
  }
  if (!nameIn(CP_UTF8, 1, name, (int)sizeof name) || !holds(json, name)) {
    return fails("the JSON report does not name the decay in UTF-8");
  }
  DeleteFileW(L"distribution.csv");
  if (!MoveFileW(out, L"distribution.csv")) {
    return fails("the distribution is not under its name");
  }
  DeleteFileW(json);
  for (k = 0; k < 2; ++k) {
    DeleteFileW(decays[k]);
  }
  return RemoveDirectoryW(folder) ? 0 : fails("something is left behind");
}
