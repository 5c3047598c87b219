// SPDX-License-Identifier: MIT
#pragma once

#include "control/monitor_report.h"

#include <QByteArray>
#include <QString>

#include <optional>

namespace velmora
{

/// A report as one line for a bar, in the form that the person has chosen.
class StatusLine
{
public:
    /// A form, or why the text stands for none.
    struct Parsed;

    /// "waybar", or a template: a text with at least one of the placeholders {active}, {failed}, {succeeded}, {total},
    /// {state}, {title} and {updated}; doubled braces stand for themselves.
    [[nodiscard]] static Parsed parse(const QString &format);

    /// The line without its break. Of texts that came over the network nothing can steer a terminal or be taken for
    /// markup.
    [[nodiscard]] QByteArray lineOf(const MonitorReport &report) const;

private:
    QString m_template; ///< empty: Waybar's JSON
};

struct StatusLine::Parsed {
    std::optional<StatusLine> line;
    QString error;
};

} // namespace velmora
