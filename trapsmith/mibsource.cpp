// Reading the blocks of a MibSource.
#include "mibsource.h"

#include <sys/stat.h>

bool MibSource::Refill() {
    if (m_fp == nullptr) return false;
    if (!m_block) {
        // A regular file shorter than a block gets a block that holds it
        // whole, and room for the read that finds its end.
        m_blockLen = m_blockSize;
        struct stat st;
        if (fstat(fileno(m_fp), &st) == 0 && S_ISREG(st.st_mode) && st.st_size >= 0 &&
            static_cast<unsigned long long>(st.st_size) < m_blockSize) {
            const size_t fit = (static_cast<size_t>(st.st_size) / 4096 + 1) * 4096;
            if (fit < m_blockLen) m_blockLen = fit;
        }
        m_block.reset(new unsigned char[m_blockLen]);
    }
    const size_t n = fread(m_block.get(), 1, m_blockLen, m_fp);
    m_cur = m_block.get();
    m_end = m_cur + n;
    return n != 0;
}
