// SPDX-License-Identifier: MIT
#pragma once

#include <QCoroTask>
#include <QDeadlineTimer>
#include <QList>
#include <QString>

#include <chrono>
#include <exception>
#include <functional>
#include <stop_token>

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
};

/// The lines of the report: each heading, and below it labels and texts in two columns. Findings without a text and
/// sections without a finding are left out.
[[nodiscard]] QStringList reportLines(const QList<FindingSection> &sections);

/// One query of a diagnosis.
struct Probe {
    QString label; ///< the label of the line if there is no answer
    /// Called once. The stop is requested when the answer is no longer needed; a probe may ignore it.
    std::function<QCoro::Task<QList<Finding>>(std::stop_token)> ask;
};

/// A probe whose answer is the text of one line.
[[nodiscard]] Probe oneLine(const QString &label, std::function<QCoro::Task<QString>(std::stop_token)> ask);

/// Runs all probes at once and returns their findings, in the order of the probes. The line of a probe that fails has
/// failureText(), that of one which misses the deadline noAnswerText(); neither affects the others. Throws a
/// CancellationError if the stop is requested.
[[nodiscard]] QCoro::Task<QList<Finding>> runProbes(QList<Probe> probes, QDeadlineTimer deadline, std::stop_token stop);

/// "no answer within 0.5 s", in tenths of a second.
[[nodiscard]] QString noAnswerText(std::chrono::milliseconds patience);

/// The failure in words from a closed list: no text of another program, no name and no path. A TransportError must come
/// from a session without names (NetworkSession::Names).
[[nodiscard]] QString failureText(const std::exception_ptr &failure);

} // namespace velmora
