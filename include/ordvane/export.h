/** @file
 * What the library offers to programs. Everything else in it is hidden.
 */
#ifndef ORDVANE_EXPORT_H
#define ORDVANE_EXPORT_H

/** Marks what programs can link to. */
#if defined(__GNUC__)
#define ORDVANE_API __attribute__((visibility("default")))
#else
#define ORDVANE_API
#endif

#endif
