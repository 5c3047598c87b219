// SPDX-License-Identifier: MIT
#include "monitor/environment_lines.h"

#include "support/alphabetical_order.h"

#include <QMap>
#include <QRegularExpression>
#include <QSet>

#include <algorithm>
#include <array>

namespace velmora
{

namespace
{

constexpr qsizetype kLeastShared = 3;

/// Environments as one line names them.
struct Place {
    QString pattern;
    QSet<QString> repositories; ///< by their node ids
    qsizetype names = 1;
};

/// By the case-folded name or pattern.
using Places = QMap<QString, Place>;

/// What was seen, by name.
Places namesIn(const SeenEnvironments &seen)
{
    Places places;
    const auto &repositories = seen.repositories();
    for (auto repository = repositories.begin(); repository != repositories.end(); ++repository) {
        for (auto environment = repository->environments.keyBegin(); environment != repository->environments.keyEnd();
             ++environment) {
            Place &place = places[environment->toCaseFolded()];
            // Of different spellings always the same one, whatever the order.
            if (place.pattern.isEmpty() || *environment < place.pattern)
                place.pattern = *environment;
            place.repositories.insert(repository.key());
        }
    }
    return places;
}

/// The patterns that are to be lines, with what shares them.
Places sharedPatterns(const Places &names, const QSet<QString> &chosen)
{
    Places shared;
    for (auto name = names.begin(); name != names.end(); ++name) {
        const QString pattern = commonPattern(name->pattern);
        if (pattern.isEmpty())
            continue;
        Place &place = shared[pattern.toCaseFolded()];
        place.names += place.pattern.isEmpty() ? 0 : 1;
        place.pattern = pattern;
        if (!chosen.contains(name.key()))
            place.repositories |= name->repositories;
    }
    shared.removeIf([&](Places::iterator place) {
        return place->repositories.isEmpty() || (place->names < kLeastShared && !chosen.contains(place.key()));
    });
    return shared;
}

/// The names and patterns that are seen, each of which is a line.
Places seenPlaces(const SeenEnvironments &seen, const QSet<QString> &chosen)
{
    const Places names = namesIn(seen);
    Places places = sharedPatterns(names, chosen);
    const Places shared = places;
    for (auto name = names.begin(); name != names.end(); ++name) {
        const QString pattern = commonPattern(name->pattern).toCaseFolded();
        if (chosen.contains(name.key()) || !shared.contains(pattern))
            places.insert(name.key(), *name);
    }
    return places;
}

/// How many repositories were seen to have what the rule is about.
qsizetype repositoriesOf(const EnvironmentRule &rule, const SeenEnvironments &seen)
{
    const QString pattern = rule.pattern.toCaseFolded();
    qsizetype count = 0;
    const auto &repositories = seen.repositories();
    for (auto repository = repositories.begin(); repository != repositories.end(); ++repository) {
        if (!rule.repositoryID.isEmpty() && rule.repositoryID != repository.key())
            continue;
        const auto isAboutIt = [&](const QString &environment) {
            return isNamed(environment.toCaseFolded(), pattern);
        };
        if (std::any_of(repository->environments.keyBegin(), repository->environments.keyEnd(), isAboutIt))
            ++count;
    }
    return count;
}

/// Finds what stands before an ending of this form.
QRegularExpression beforeEnding(const QString &form)
{
    return QRegularExpression(QStringLiteral("^(.*[^\\p{L}\\p{N}])(?:%1)$").arg(form),
        QRegularExpression::CaseInsensitiveOption | QRegularExpression::DotMatchesEverythingOption);
}

} // namespace

QString commonPattern(const QString &environment)
{
    // A UUID comes first, since its last part alone looks like a hash. A word without a digit is no hash.
    static const std::array forms{
        beforeEnding(QStringLiteral("[0-9a-f]{8}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{4}-[0-9a-f]{12}")),
        beforeEnding(QStringLiteral("[0-9]+|(?=[a-f]*[0-9])[0-9a-f]{7,40}"))};
    for (const QRegularExpression &form : forms) {
        if (const auto match = form.match(environment); match.hasMatch())
            return match.captured(1) + QLatin1Char('*');
    }
    return QString();
}

QList<EnvironmentLine> environmentLines(const SeenEnvironments &seen, const EnvironmentChoices &choices)
{
    QHash<QString, const EnvironmentRule *> rules; // those of every repository
    QSet<QString> chosen;
    for (const EnvironmentRule &rule : choices.rules) {
        if (rule.repositoryID.isEmpty()) {
            rules.insert(rule.pattern.toCaseFolded(), &rule);
            chosen.insert(rule.pattern.toCaseFolded());
        }
    }
    const EnvironmentRules inEffect(choices);
    QList<EnvironmentLine> lines;
    const Places places = seenPlaces(seen, chosen);
    for (auto place = places.begin(); place != places.end(); ++place) {
        const EnvironmentRule rule{place->pattern, inEffect.choice(QString(), place->pattern)};
        lines.append({rule, place->repositories.size(), chosen.contains(place.key())});
    }
    QList<EnvironmentLine> ofRepositories;
    for (const EnvironmentRule &rule : choices.rules) {
        if (rule.repositoryID.isEmpty() && places.contains(rule.pattern.toCaseFolded()))
            continue;
        EnvironmentLine line{rule, repositoriesOf(rule, seen), true};
        if (!rule.repositoryID.isEmpty() && seen.repositories().contains(rule.repositoryID))
            line.rule.repositoryName = seen.repositories().value(rule.repositoryID).name;
        if (line.repositories > 0 || rule.choice != EnvironmentChoice::Notify)
            (rule.repositoryID.isEmpty() ? lines : ofRepositories).append(line);
    }
    const auto name = [](const EnvironmentLine &line) {
        return line.rule.target();
    };
    sortAlphabetically(lines, name);
    sortAlphabetically(ofRepositories, name);
    return lines + ofRepositories;
}

QString patternOfLine(const QString &environment, const QList<EnvironmentLine> &lines)
{
    const QString pattern = commonPattern(environment);
    QString found = environment;
    for (const EnvironmentLine &line : lines) {
        if (!line.rule.repositoryID.isEmpty())
            continue;
        if (line.rule.pattern.compare(environment, Qt::CaseInsensitive) == 0)
            return line.rule.pattern;
        if (!pattern.isEmpty() && line.rule.pattern.compare(pattern, Qt::CaseInsensitive) == 0)
            found = line.rule.pattern;
    }
    return found;
}

} // namespace velmora
