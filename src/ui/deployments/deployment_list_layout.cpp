// SPDX-License-Identifier: MIT
#include "ui/deployments/deployment_list_layout.h"

#include <algorithm>

namespace velmora
{

DeploymentListLayout::DeploymentListLayout(const Heights &heights, std::vector<int> headerRows, int rowCount)
    : m_heights(heights)
    , m_headerRows(std::move(headerRows))
    , m_rowCount(rowCount)
{
}

int DeploymentListLayout::headersUpTo(int row) const
{
    return static_cast<int>(std::ranges::upper_bound(m_headerRows, row) - m_headerRows.begin());
}

int DeploymentListLayout::contentHeight() const
{
    const int headers = static_cast<int>(m_headerRows.size());
    return headers * (m_heights.header + m_heights.sectionEnd) + (m_rowCount - headers) * m_heights.row;
}

int DeploymentListLayout::top(int row) const
{
    const int headersAbove = headersUpTo(row - 1);
    const int sectionsAbove = std::max(0, headersUpTo(row) - 1);
    return headersAbove * m_heights.header + (row - headersAbove) * m_heights.row
        + sectionsAbove * m_heights.sectionEnd;
}

int DeploymentListLayout::height(int row) const
{
    return isHeader(row) ? m_heights.header : m_heights.row;
}

int DeploymentListLayout::rowAt(int y) const
{
    if (y < 0 || y >= contentHeight())
        return -1;
    // Find the last section that begins at or above y.
    auto header = m_headerRows.begin();
    while (header + 1 != m_headerRows.end() && top(*(header + 1)) <= y)
        ++header;
    const int inSection = y - top(*header) - m_heights.header;
    if (inSection < 0)
        return *header;
    const int end = header + 1 == m_headerRows.end() ? m_rowCount : *(header + 1);
    return std::min(*header + 1 + inSection / m_heights.row, end - 1);
}

bool DeploymentListLayout::isHeader(int row) const
{
    return std::ranges::binary_search(m_headerRows, row);
}

bool DeploymentListLayout::endsSection(int row) const
{
    return row + 1 == m_rowCount || isHeader(row + 1);
}

} // namespace velmora
