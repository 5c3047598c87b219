// SPDX-License-Identifier: MIT
#pragma once

#include "accounts/credential_storing.h"
#include "support/one_shot.h"

#include <QMap>
#include <QStringList>

#include <deque>
#include <functional>

namespace velmora::testing
{

/// Credentials in memory. Operations can be made to fail or wait, and are recorded.
class FakeCredentialStore final : public CredentialStoring
{
public:
    [[nodiscard]] QCoro::Task<> prepareToSave() override
    {
        ++preparations;
        if (isHoldingQuestions)
            co_await hold();
        if (prepareFailure)
            std::rethrow_exception(prepareFailure);
    }

    [[nodiscard]] QCoro::Task<> unlock(QList<qint64> accountIDs) override
    {
        unlocked.append(accountIDs);
        if (isHoldingQuestions)
            co_await hold();
        if (unlockFailure)
            std::rethrow_exception(unlockFailure);
        if (onUnlock)
            onUnlock();
    }

    [[nodiscard]] QCoro::Task<> save(GitHubCredential credential, qint64 accountID, Interaction interaction) override
    {
        const bool waits = isHolding || isHoldingSaves;
        if (waits)
            co_await hold();
        if (saveFailure)
            std::rethrow_exception(saveFailure);
        ++saves;
        if (journal) {
            const QString manner
                = interaction == Interaction::Allowed ? QStringLiteral("asking") : QStringLiteral("quietly");
            journal->append(QStringLiteral("save %1 %2 %3").arg(accountID).arg(credential.accessToken, manner));
        }
        credentials.insert(accountID, credential);
    }

    [[nodiscard]] QCoro::Task<std::optional<GitHubCredential>> load(qint64 accountID) override
    {
        ++loads;
        if (isHolding) {
            m_answerWithNothing = false;
            co_await hold();
            if (m_answerWithNothing)
                co_return std::nullopt;
        }
        if (loadFailure)
            std::rethrow_exception(loadFailure);
        std::optional<GitHubCredential> found;
        if (credentials.contains(accountID))
            found = credentials.value(accountID);
        co_return found;
    }

    [[nodiscard]] QCoro::Task<> remove(qint64 accountID, [[maybe_unused]] Interaction interaction) override
    {
        if (isHolding)
            co_await hold();
        if (removeFailure)
            std::rethrow_exception(removeFailure);
        credentials.remove(accountID);
    }

    /// Resumes the oldest waiting operation; false if none waits.
    bool release()
    {
        if (m_held.empty())
            return false;
        const auto held = m_held.front();
        m_held.pop_front();
        held.resolve();
        return true;
    }

    /// Resumes the oldest waiting load and makes it find nothing.
    bool releaseWith(std::nullopt_t)
    {
        m_answerWithNothing = true;
        return release();
    }

    QMap<qint64, GitHubCredential> credentials;
    std::exception_ptr prepareFailure;
    std::exception_ptr unlockFailure;
    std::exception_ptr saveFailure;
    std::exception_ptr loadFailure;
    std::exception_ptr removeFailure;
    bool isHolding = false; ///< every operation waits for release()
    bool isHoldingSaves = false;
    bool isHoldingQuestions = false; ///< operations that may prompt the user wait for release()
    int preparations = 0; ///< the number of calls of prepareToSave()
    QList<QList<qint64>> unlocked; ///< the accounts of each request to unlock
    std::function<void()> onUnlock; ///< called when unlocking succeeds
    int saves = 0; ///< the number that succeeded
    int loads = 0;
    QStringList *journal = nullptr;

private:
    OneShot<> hold()
    {
        const OneShot<> held;
        m_held.push_back(held);
        return held;
    }

    std::deque<OneShot<>> m_held;
    bool m_answerWithNothing = false;
};

} // namespace velmora::testing
