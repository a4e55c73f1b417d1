/**
 * @file
 * The library's version, as numbers and as text, in C and C++. Everything else that names the version, from the shared
 * library's name to its package, is derived from these three numbers or compared with them.
 */
#ifndef ORVA_CLASSLOADER_VERSION_H
#define ORVA_CLASSLOADER_VERSION_H

/** Counts the versions that may break hosts; while it is 0, each minor version may. */
#define ORVA_CLASSLOADER_VERSION_MAJOR 0
/** Counts the versions that add something. */
#define ORVA_CLASSLOADER_VERSION_MINOR 1
/** Counts the versions that only fix something. */
#define ORVA_CLASSLOADER_VERSION_PATCH 0

/** @cond */
#define ORVA_CLASSLOADER_TEXT_(number) #number
#define ORVA_CLASSLOADER_VERSION_(major, minor, patch) \
  ORVA_CLASSLOADER_TEXT_(major) "." ORVA_CLASSLOADER_TEXT_(minor) "." ORVA_CLASSLOADER_TEXT_(patch)
/** @endcond */

/** The version as a string literal: "MAJOR.MINOR.PATCH". */
#define ORVA_CLASSLOADER_VERSION                                                            \
  ORVA_CLASSLOADER_VERSION_(ORVA_CLASSLOADER_VERSION_MAJOR, ORVA_CLASSLOADER_VERSION_MINOR, \
                            ORVA_CLASSLOADER_VERSION_PATCH)

#endif /* ORVA_CLASSLOADER_VERSION_H */
