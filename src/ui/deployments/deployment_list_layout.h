// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace velmora
{

/// The positions of the rows in the list. They are computed from the positions of the headers, so that the cost does
/// not depend on the number of rows.
class DeploymentListLayout
{
public:
    struct Heights {
        int header = 0; ///< including the padding above it
        int row = 0;
        int sectionEnd = 0; ///< the padding below the last row of a section
    };

    DeploymentListLayout() = default;
    /// `headerRows` is ascending. Unless it is empty, the first row is a header.
    DeploymentListLayout(const Heights &heights, std::vector<int> headerRows, int rowCount);

    [[nodiscard]] int rowCount() const { return m_rowCount; }
    [[nodiscard]] int contentHeight() const;
    [[nodiscard]] int top(int row) const;
    [[nodiscard]] int height(int row) const;
    /// The row at a height. The padding below a section counts to its last row. -1 outside the content.
    [[nodiscard]] int rowAt(int y) const;
    [[nodiscard]] bool isHeader(int row) const;
    /// Whether the row is the last of its section.
    [[nodiscard]] bool endsSection(int row) const;

private:
    /// The number of headers at or above the row.
    [[nodiscard]] int headersUpTo(int row) const;

    Heights m_heights;
    std::vector<int> m_headerRows;
    int m_rowCount = 0;
};

} // namespace velmora
