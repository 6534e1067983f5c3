/*
 * out_of_memory.h: the storage layer's handler for block-heap failures.
 */
#ifndef KOSHR_STORAGE_OUT_OF_MEMORY_H
#define KOSHR_STORAGE_OUT_OF_MEMORY_H

#include "storage/block_heap.h"

namespace ko {

// Registers the handler with the heap once per process, keeping the handler
// registered before it for the events it does not handle itself.
void install_out_of_memory_handler();

// The handler: code 2 asks the user "Out of Memory" (Retry gives 1, Cancel
// ends the process), code 4 gives 0, any other code goes to the previous one.
int storage_out_of_memory(KoHeapEvent* event, void* argument);

}  // namespace ko

#endif
