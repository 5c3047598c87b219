// SPDX-License-Identifier: MIT
#include "fuzz/fuzz_target.h"
#include "platform/preferences_file.h"
#include "support/private_file.h"

#include <QTemporaryDir>

using namespace velmora;

/// For any content, a change must be saved, and a file that is not understood must be set aside, not lost.
int LLVMFuzzerTestOneInput(const std::uint8_t *data, std::size_t size)
{
    static const QTemporaryDir folder;
    const QString path = folder.filePath(QStringLiteral("preferences.json"));
    QFile::remove(path + QStringLiteral(".damaged"));
    writePrivateFile(path, fuzz::bytes(data, size));

    PreferencesUpdate reading;
    applyChanges(path, std::chrono::seconds(1), reading);
    const QJsonObject content = reading.content.value_or(QJsonObject());
    for (const auto &json : content) {
        if (const auto value = preferenceFromJSON(json))
            fuzz::require(
                preferenceFromJSON(jsonFromPreference(*value)) == value, "a value is the same when it is read back");
    }

    PreferencesUpdate writing;
    writing.changes.insert(QStringLiteral("key"), true);
    applyChanges(path, std::chrono::seconds(1), writing);
    fuzz::require(writing.content && writing.content->value(u"key").toBool(), "a change is kept");
    PreferencesUpdate again;
    applyChanges(path, std::chrono::seconds(1), again);
    fuzz::require(again.content == writing.content && again.failure.isEmpty(), "what was written can be read");
    return 0;
}
