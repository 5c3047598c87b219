// SPDX-License-Identifier: MIT
#pragma once

#include "platform/preferences.h"

#include <memory>

namespace velmora
{

class Clock;

/// Preferences in one JSON file that several processes may share.
///
/// The file is read at construction and again when another process has replaced it. Writing happens on a
/// thread of its own: under a lock, the changes made here are put into what the file holds by then,
/// and the file is replaced as a whole, only when that makes a difference. What fails is tried again: with the next
/// change, by flush(), and after pauses that grow from 5 seconds to 5 minutes. A file that cannot be
/// understood is copied to one with the suffix ".damaged" (and a number when that is taken) before anything
/// is written, and damageFound() says so. A file that could never be read keeps what it holds: values set meanwhile
/// give way to it.
class FilePreferences final : public Preferences
{
    Q_OBJECT

public:
    /// `path` names the file; an empty one, of a user without a home, keeps everything in memory, which is a
    /// failure(). The folder is made with the first write. Files are 0600, folders 0700. Without a clock, which is not
    /// owned, nothing is tried again after a pause.
    explicit FilePreferences(const QString &path, Clock *clock = nullptr, QObject *parent = nullptr);
    /// Waits for writes under way.
    ~FilePreferences() override;

    [[nodiscard]] std::optional<Value> value(const QString &key) const override;
    void setValue(const QString &key, const Value &value) override;
    void remove(const QString &key) override;
    [[nodiscard]] QCoro::Task<ListChanges> changeLists(ListChanges changes) override;
    [[nodiscard]] QString failure() const override;
    [[nodiscard]] bool isSaving() const override;

    /// Waits until everything set so far is on the disk, or has failed. Blocks; for the end of the program.
    void flush();

    /// What damageFound() would have said before anyone could listen; empty when there was nothing to say.
    [[nodiscard]] QString earlyDamage() const;

private:
    class Storage;
    std::unique_ptr<Storage> m_storage;
};

} // namespace velmora
