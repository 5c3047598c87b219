// SPDX-License-Identifier: MIT
#pragma once

#include <QList>
#include <QString>

namespace velmora
{

/// One line of a diagnosis.
struct Finding {
    QString label;
    QString text;

    friend bool operator==(const Finding &, const Finding &) = default;
};

/// Lines that belong together.
struct FindingSection {
    QString heading;
    QList<Finding> findings;

    friend bool operator==(const FindingSection &, const FindingSection &) = default;
};

/// Adds the findings to the section with the heading, which is made where there is none.
void addFindings(QList<FindingSection> *sections, const QString &heading, const QList<Finding> &findings);

/// The lines of the report: each heading, and below it labels and texts in two columns. A text that is empty is left
/// out, and so is a section without a line.
[[nodiscard]] QStringList reportLines(const QList<FindingSection> &sections);

} // namespace velmora
