#pragma once

// See stdint-intn.h beside this file: `uint64_t` is another type than `size_t` on macOS.

typedef __UINT8_TYPE__ uint8_t;
typedef __UINT16_TYPE__ uint16_t;
typedef __UINT32_TYPE__ uint32_t;
typedef __UINT64_TYPE__ uint64_t;
