/*
 * koshr/host.h: what a host process can set on the library as a whole.
 *
 * A host that has no user to ask (a server, a test) installs a prompt handler;
 * the library then never opens a message box. On Linux the clipboard is a
 * process-wide text that the host reads back here.
 */
#ifndef KOSHR_HOST_H
#define KOSHR_HOST_H

#include <koshr/types.h>

/* Answers a question the library asks the user; returns the button pressed
 * (1 OK, 2 Cancel, 4 Retry, 6 Yes, 7 No). `style` holds message-box style bits. */
typedef int (*KOSHR_PROMPT_HANDLER)(const KOCHAR* text, const KOCHAR* caption, unsigned style);

/* Installs a prompt handler (null removes it); returns the previous one. */
KOSHR_EXTERN_C KOSHR_API KOSHR_PROMPT_HANDLER
koshr_set_prompt_handler(KOSHR_PROMPT_HANDLER handler);

/* The text last put on the clipboard by the library (Linux); empty when none. */
KOSHR_EXTERN_C KOSHR_API const KOCHAR* koshr_clipboard_text(void);

/* The library's version text, as "1.0.0". */
KOSHR_EXTERN_C KOSHR_API const char* koshr_version(void);

/* The old exit procedure, kept for callers that still call it: does nothing
 * and returns 1. Unloading is the library's own business. */
KOSHR_EXTERN_C KOSHR_API int WEP(int exit_type);

#endif
