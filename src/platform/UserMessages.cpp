#include "platform/UserMessages.h"

// Out of line so the class has one home for its vtable and type information (dynamic_cast in hosts).
CUserMessageEvent::~CUserMessageEvent() = default;
