// ADDRESS_SANITIZED is defined in a build with AddressSanitizer, of either compiler.
#pragma once

#ifdef __SANITIZE_ADDRESS__
#define ADDRESS_SANITIZED
#elif defined(__has_feature)
#if __has_feature(address_sanitizer)
#define ADDRESS_SANITIZED
#endif
#endif
