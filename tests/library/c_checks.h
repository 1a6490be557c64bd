/* Checks of the C interface, written in C. Each gives null, or what does not hold. */
#ifndef ORDVANE_TESTS_C_CHECKS_H
#define ORDVANE_TESTS_C_CHECKS_H

#ifdef __cplusplus
extern "C" {
#endif

const char* check_run_of_arrays(void);
const char* check_errors(void);
const char* check_null(void);
const char* check_callbacks(void);
/* Of the example's workbook. */
const char* check_model(const char* workbook);

#ifdef __cplusplus
}
#endif

#endif
