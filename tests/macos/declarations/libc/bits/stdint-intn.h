#pragma once

// The widths of the C library here, made of macOS's types: there, 64 bits are a `long long`, and so another type than
// `long`, though as wide.

typedef __INT8_TYPE__ int8_t;
typedef __INT16_TYPE__ int16_t;
typedef __INT32_TYPE__ int32_t;
typedef __INT64_TYPE__ int64_t;
