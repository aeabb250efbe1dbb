#pragma once

/// True under the address sanitizer, which reserves more memory than can be limited, and is slow.
#ifndef __has_feature // clang's; the other compiler defines a macro
#define __has_feature(feature) 0
#endif
#if defined(__SANITIZE_ADDRESS__) || __has_feature(address_sanitizer)
constexpr bool isSanitized = true;
#else
constexpr bool isSanitized = false;
#endif
