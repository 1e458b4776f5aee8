#pragma once
// The framework's scalar names used by the list and widget controls' signatures, so that derived
// controls override them with the same spelling.

using BOOL = int;
using UINT = unsigned int;

#ifndef TRUE
#define TRUE 1
#endif
#ifndef FALSE
#define FALSE 0
#endif
