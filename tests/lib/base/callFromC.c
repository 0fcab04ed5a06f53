/* SPDX-License-Identifier: GPL-2.0-or-later */
/* The library's interface as a program in C sees it. */
#include "base/config.h"
#include "base/dictionary.h"
#include "base/log.h"
#include "base/panic.h"
#include "base/poll.h"
#include "base/posix.h"
#include "base/preference.h"
#include "base/productState.h"
#include "base/str.h"
#include "base/strUtil.h"
#include "base/unicode.h"

int CallFromC(char** argv);

/* The number in argv[1] plus 1 if everything works, else -1. */
int CallFromC(char** argv)
{
   Dictionary* dict = Dictionary_Create();
   char buffer[16];
   int number = 0;

   Unicode_Init(2, &argv, NULL);
   Dict_SetString(dict, argv[1], "number");
   if (!StrUtil_StrToInt(&number, Dict_GetString(dict, "", "number")) || argv[3][0] != '\0') {
      number = -2;
   }
   Dictionary_Free(dict);
   Str_Sprintf(buffer, sizeof buffer, "%d", number + 1);
   return StrUtil_StrToInt(&number, buffer) ? number : -1;
}
