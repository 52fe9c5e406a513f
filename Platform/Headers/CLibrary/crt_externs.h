// The process's arguments, as libSystem hands them out.
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

int* _NSGetArgc(void);
char*** _NSGetArgv(void);

#ifdef __cplusplus
}
#endif
