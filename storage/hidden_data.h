/*
 * hidden_data.h: KO_HIDDEN_DATA marks a variable that the library's files
 * share and nothing outside reads. Declared hidden, it is reached directly
 * from position-independent code instead of through the global offset table:
 * one load fewer on the block calls' hot paths. PE has no such table for
 * these, so there the mark is empty.
 */
#ifndef KOSHR_STORAGE_HIDDEN_DATA_H
#define KOSHR_STORAGE_HIDDEN_DATA_H

#if defined(__ELF__)
#define KO_HIDDEN_DATA __attribute__((visibility("hidden")))
#else
#define KO_HIDDEN_DATA
#endif

#endif
