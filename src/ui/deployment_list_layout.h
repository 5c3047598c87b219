// SPDX-License-Identifier: MIT
#pragma once

#include <vector>

namespace velmora
{

/// Where the rows of the list stand: computed from the places of the headers, so that a list of any length costs the
/// same.
class DeploymentListLayout
{
public:
    struct Heights {
        int header = 0; ///< with the padding above it
        int row = 0;
        int sectionEnd = 0; ///< the padding below the last row of a section
    };

    DeploymentListLayout() = default;
    /// `headerRows` ascending; the first row is a header, unless there are none.
    DeploymentListLayout(const Heights &heights, std::vector<int> headerRows, int rowCount);

    [[nodiscard]] int rowCount() const { return m_rowCount; }
    [[nodiscard]] int contentHeight() const;
    [[nodiscard]] int top(int row) const;
    [[nodiscard]] int height(int row) const;
    /// The row at a height; that of the padding below a section is its last. -1 outside of the content.
    [[nodiscard]] int rowAt(int y) const;
    [[nodiscard]] bool isHeader(int row) const;
    /// Whether the row is the last of its section.
    [[nodiscard]] bool endsSection(int row) const;

private:
    /// The number of headers above the row, itself included.
    [[nodiscard]] int headersUpTo(int row) const;

    Heights m_heights;
    std::vector<int> m_headerRows;
    int m_rowCount = 0;
};

} // namespace velmora
