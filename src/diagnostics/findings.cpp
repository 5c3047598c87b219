// SPDX-License-Identifier: MIT
#include "diagnostics/findings.h"

#include <QStringList>

namespace velmora
{

namespace
{

qsizetype labelWidth(const QList<FindingSection> &sections)
{
    qsizetype width = 0;
    for (const FindingSection &section : sections) {
        for (const Finding &finding : section.findings)
            width = std::max(width, finding.label.size());
    }
    return width;
}

} // namespace

void addFindings(QList<FindingSection> *sections, const QString &heading, const QList<Finding> &findings)
{
    const auto found = std::ranges::find(*sections, heading, &FindingSection::heading);
    if (found != sections->end())
        found->findings.append(findings);
    else
        sections->append(FindingSection{heading, findings});
}

QStringList reportLines(const QList<FindingSection> &sections)
{
    const qsizetype width = labelWidth(sections);
    QStringList lines;
    for (const FindingSection &section : sections) {
        QStringList own;
        for (const Finding &finding : section.findings) {
            if (!finding.text.isEmpty())
                own.append(QStringLiteral("  ") + finding.label.leftJustified(width) + QStringLiteral("  ")
                    + finding.text.simplified());
        }
        if (own.isEmpty())
            continue;
        if (!lines.isEmpty())
            lines.append(QString());
        lines.append(section.heading);
        lines.append(own);
    }
    return lines;
}

} // namespace velmora
