// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <memory>

namespace velmora
{

class Clock;

/// Preferences in one JSON file that several processes may share.
///
/// Reads the file at construction, and again when another process has replaced it. Writes on another thread: takes a
/// lock, applies the changes to the current content of the file, and replaces the file as a whole if that makes a
/// difference. Retries failed writes with the next change, in flush(), and after pauses that grow from 5 seconds to 5
/// minutes. Before the first write, copies a malformed file to one with the suffix ".damaged" (and a number if that
/// exists), and reports it by damageFound(). If the file could never be read, its values later win over values set
/// meanwhile.
class FilePreferences final : public Preferences
{
    Q_OBJECT

public:
    /// `path` names the file. If it is empty, because the user has no home, keeps everything in memory and reports that
    /// as failure(). The first write creates the folder. Files are 0600, folders 0700. The clock is not owned; without
    /// it there are no retries after a pause.
    explicit FilePreferences(const QString &path, Clock *clock = nullptr, QObject *parent = nullptr);
    /// Waits for running writes.
    ~FilePreferences() override;

    [[nodiscard]] std::optional<Value> value(const QString &key) const override;
    void setValue(const QString &key, const Value &value) override;
    void remove(const QString &key) override;
    [[nodiscard]] QCoro::Task<ListChanges> changeLists(ListChanges changes) override;
    [[nodiscard]] QString failure() const override;
    [[nodiscard]] bool isSaving() const override;

    /// Waits until everything set so far is on the disk or has failed. Blocks; for the end of the program.
    void flush();

    /// The message that damageFound() could not emit during construction, else empty.
    [[nodiscard]] QString earlyDamage() const;

private:
    class Storage;
    std::unique_ptr<Storage> m_storage;
};

} // namespace velmora
