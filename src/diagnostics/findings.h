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

/// Lines under one heading.
struct FindingSection {
    QString heading;
    QList<Finding> findings;

    friend bool operator==(const FindingSection &, const FindingSection &) = default;
};

/// Adds the findings to the section with this heading; creates it if necessary.
void addFindings(QList<FindingSection> *sections, const QString &heading, const QList<Finding> &findings);

/// The lines of the report: each heading, and below it labels and texts in two columns. Findings without a text and
/// sections without a finding are left out.
[[nodiscard]] QStringList reportLines(const QList<FindingSection> &sections);

} // namespace velmora
