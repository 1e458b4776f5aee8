#pragma once
// The framework's scalar names used by the list and widget controls' signatures, so that derived
// controls override them with the same spelling.

#include "platform/WinTypes.h"
