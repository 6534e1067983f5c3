/*
 * commit.h: bringing a handle's changes to the file in the safe order.
 *
 *   1. the data write buffer (blocks nothing references yet);
 *   2. the bitmap blocks, now marking those data blocks and any new node;
 *   3. new nodes, then changed nodes in the order they changed;
 *   4. the runs freed by those changes go back to the bitmap, which is
 *      written again.
 *
 * A failure stops the sequence; what is still pending stays pending.
 */
#ifndef KOSHR_LIBRARY_COMMIT_H
#define KOSHR_LIBRARY_COMMIT_H

#include "library/library_handle.h"

namespace ko {

int32_t commit(LmiLibrary* lib);
// Commits when enough changes wait (keeps memory and exposure bounded).
int32_t commit_if_due(LmiLibrary* lib);
// Gives a run back after the next commit has written what freed it.
int32_t release_later(LmiLibrary* lib, uint32_t offset, uint32_t count);
// The same for every block of a data chain.
int32_t release_chain_later(LmiLibrary* lib, uint32_t first_block, uint32_t length);
// Writes the header's first 1024 bytes at the base.
int32_t write_header(LmiLibrary* lib);

}  // namespace ko

#endif
