/*
 * directory.h: the tree of directory nodes.
 *
 * Each node holds a range of names, from its lowest to its highest; its left
 * subtree holds names below the lowest, its right subtree names above the
 * highest. A search compares with the lowest name case-sensitively and with
 * the highest name and the node's records case-insensitively (entry_name.h).
 *
 * Growth: a record goes into the node where the search ends when it fits;
 * otherwise a search that ended beside a node without a child there gets a new
 * child node, and one that ended inside a full node splits it. The node's
 * records, ordered, are cut and one part moves to a new node that becomes the
 * node's direct child, so that one write of the node both drops the moved
 * records and links them: into an empty child slot (left first) half the
 * records move; with both children present three quarters move, to the left
 * or to the right by the node's place in the file, and the new node takes
 * over the child on its side. Alternating the side spreads the added depth:
 * 10,000 entries in random order give about 10 nodes on an average path (30
 * when the side is always the left one). Entries added in name order all go
 * right and the tree is a chain of nodes.
 *
 * Removal: a node whose last record goes is taken out of the tree. With one
 * child that child takes its place; with two, the right subtree is hung below
 * the rightmost node of the left subtree first, then the left subtree takes
 * its place. The root cannot move: the node that would take its place is
 * copied into it instead. Links are written in an order in which every name
 * stays reachable (the new link before the old one goes).
 */
#ifndef KOSHR_LIBRARY_DIRECTORY_H
#define KOSHR_LIBRARY_DIRECTORY_H

#include "library/entry_record.h"
#include "library/library_handle.h"

namespace ko {

enum class Landing { kFound, kInNode, kLeft, kRight };

struct SearchResult {
  CachedNode* node = nullptr;
  Landing landing = Landing::kInNode;
  uint32_t record = 0;  // the found record's offset in the node
};

// 0, or LMI_E_IO when a node on the way is unreadable or malformed.
int32_t directory_search(LmiLibrary* lib, const KOCHAR* name, SearchResult* result);
// The record of a name: 0, LMI_E_NOT_FOUND when absent, or LMI_E_IO. Names
// found before over an unchanged tree are answered from the handle's index
// (name_index.h).
int32_t find_entry(LmiLibrary* lib, const KOCHAR* name, EntryRef* entry);
// Adds a record with no data after a search for the name (`searched`, just
// made) found it absent; the new record's node and offset come back in
// *placed. 0, LMI_E_NAME (name too long) or a failure code.
int32_t directory_insert(LmiLibrary* lib, const KOCHAR* name, uint32_t now, const SearchResult& searched,
                         SearchResult* placed);
// Removes a found record (after a directory_search that found it).
int32_t directory_remove(LmiLibrary* lib, const SearchResult& found);
// Visits every node, left subtree first, then the node, then the right subtree.
int32_t directory_walk(LmiLibrary* lib, int32_t (*visit)(void*, CachedNode*), void* context);

}  // namespace ko

#endif
