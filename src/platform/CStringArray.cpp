#include "platform/CStringArray.h"

CInvalidArgException::~CInvalidArgException() = default;
