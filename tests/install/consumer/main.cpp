// A host built against the installed library only.
#include <cstdio>
#include <cstring>

#include "platform/HResult.h"

int main()
{
    const char* text = HResultDescription(E_INVALIDARG);
    std::printf("%s\n", text);
    return std::strcmp(text, "One or more arguments are invalid.") == 0 ? 0 : 1;
}
