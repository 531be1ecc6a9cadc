// Reading the blocks of a MibSource.
#include "mibsource.h"

bool MibSource::Refill() {
    if (m_fp == nullptr) return false;
    if (!m_block) m_block.reset(new unsigned char[m_blockSize]);
    const size_t n = fread(m_block.get(), 1, m_blockSize, m_fp);
    m_cur = m_block.get();
    m_end = m_cur + n;
    return n != 0;
}
