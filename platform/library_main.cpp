/*
 * library_main.cpp: the shared library's own translation unit. It holds
 * nothing but anchors the module; the load and unload sequence is in
 * lifecycle.cpp.
 */
#include <koshr/host.h>
