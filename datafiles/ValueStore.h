// Numbers of unknown count, kept in blocks: nothing is copied while it grows, and a block goes as soon as it is read.
#pragma once

#include <cstddef>
#include <deque>
#include <memory>

namespace datafiles {

class ValueStore {
 public:
  void Add(double value) {
    if (m_used == kBlockSize) {
      m_blocks.push_back(std::make_unique_for_overwrite<double[]>(kBlockSize));
      m_write = m_blocks.back().get();
      m_used = 0;
    }
    m_write[m_used++] = value;
  }

  /// The values in the order in which they were added, each once.
  double Take() {
    if (m_taken == kBlockSize) {
      m_blocks.pop_front();
      m_taken = 0;
    }
    return m_blocks.front()[m_taken++];
  }

 private:
  static constexpr std::size_t kBlockSize = 16 * 1024;

  std::deque<std::unique_ptr<double[]>> m_blocks;
  double* m_write = nullptr;
  std::size_t m_used = kBlockSize;
  std::size_t m_taken = 0;
};

}  // namespace datafiles
