#pragma once

// Four bytes on every Mac: int on arm64, unsigned int on x86_64.
typedef int boolean_t;
