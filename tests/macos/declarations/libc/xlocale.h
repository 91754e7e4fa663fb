#pragma once

// The C library's functions that take a locale, which this system's C library lacks and the C++ library of macOS stands
// on. Written from the manual page xlocale(3).

#include <locale.h>
#include <stdarg.h>
#include <stdio.h>
#include <stdlib.h>
#include <string.h>
#include <wchar.h>
#include <wctype.h>

#define MB_CUR_MAX_L(locale) (___mb_cur_max_l(locale))

extern "C" {

int ___mb_cur_max_l(locale_t locale);
wint_t btowc_l(int byte, locale_t locale);
int wctob_l(wint_t character, locale_t locale);
size_t mbrlen_l(const char* bytes, size_t count, mbstate_t* state, locale_t locale);
size_t mbrtowc_l(wchar_t* character, const char* bytes, size_t count, mbstate_t* state, locale_t locale);
int mbtowc_l(wchar_t* character, const char* bytes, size_t count, locale_t locale);
size_t mbsnrtowcs_l(wchar_t* to, const char** from, size_t bytes, size_t room, mbstate_t* state, locale_t locale);
size_t mbsrtowcs_l(wchar_t* to, const char** from, size_t room, mbstate_t* state, locale_t locale);
size_t wcrtomb_l(char* to, wchar_t character, mbstate_t* state, locale_t locale);
size_t wcsnrtombs_l(char* to, const wchar_t** from, size_t characters, size_t room, mbstate_t* state, locale_t locale);
struct lconv* localeconv_l(locale_t locale);
int snprintf_l(char* to, size_t room, locale_t locale, const char* format, ...);
int asprintf_l(char** to, locale_t locale, const char* format, ...);
int sscanf_l(const char* from, locale_t locale, const char* format, ...);

}  // extern "C"
