#include "platform/memory/memory.h"

#include <algorithm>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <unordered_set>

#include "platform/guarded.h"

namespace {

// A handle points to the first field.
struct Block {
  Ptr master = nullptr;
  std::int32_t size = 0;
  std::int32_t capacity = 0;
  std::int32_t locks = 0;
};

std::unordered_set<const void*>& blocks() {
  static std::unordered_set<const void*> alive;
  return alive;
}

Block* blockOf(Handle handle) { return blocks().contains(handle) ? reinterpret_cast<Block*>(handle) : nullptr; }

}  // namespace

std::int32_t GetHandleSize(Handle handle) {
  const Block* block = blockOf(handle);
  return block != nullptr ? block->size : 0;
}

void HLock(Handle handle) {
  if (Block* block = blockOf(handle)) ++block->locks;
}

void HUnlock(Handle handle) {
  Block* block = blockOf(handle);
  if (block != nullptr && block->locks > 0) --block->locks;
}

Handle NewHandle(std::int32_t size) {
  if (size < 0) return nullptr;
  return guarded([size]() -> Handle {
    auto block = std::make_unique<Block>();
    blocks().insert(block.get());
    block->master = static_cast<Ptr>(std::calloc(1, static_cast<std::size_t>(std::max(size, 1))));
    if (block->master == nullptr) {
      blocks().erase(block.get());
      return nullptr;
    }
    block->size = block->capacity = size;
    return &block.release()->master;
  });
}

bool SetHandleSize(Handle handle, std::int32_t size) {
  Block* block = blockOf(handle);
  if (block == nullptr || size < 0) return false;
  if (size > block->capacity) {
    if (block->locks > 0) return false;  // a locked block doesn't move
    // Grows by half at least, so that appending costs the same at every size.
    const std::int32_t room = block->capacity < INT32_MAX / 2 ? block->capacity + block->capacity / 2 : INT32_MAX;
    const std::int32_t capacity = std::max({size, room, 64});
    void* bytes = std::realloc(block->master, static_cast<std::size_t>(capacity));
    if (bytes == nullptr) return false;
    block->master = static_cast<Ptr>(bytes);
    block->capacity = capacity;
  }
  if (size > block->size) std::memset(block->master + block->size, 0, static_cast<std::size_t>(size - block->size));
  block->size = size;
  return true;
}

void DisposeHandle(Handle handle) {
  Block* block = blockOf(handle);
  if (block == nullptr) return;
  blocks().erase(handle);
  std::free(block->master);
  delete block;
}

namespace memory {

Audit audit() {
  const auto isLocked = [](const void* block) { return static_cast<const Block*>(block)->locks > 0; };
  return {blocks().size(), static_cast<std::size_t>(std::count_if(blocks().begin(), blocks().end(), isLocked))};
}

}  // namespace memory
