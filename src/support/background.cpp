// SPDX-License-Identifier: MIT
#include "support/background.h"

namespace velmora
{

QThreadPool *patientPool()
{
    // Never destroyed, because the destructor of a pool waits for its threads.
    static QThreadPool *const pool = [] {
        constexpr int kMostThreads = 8;
        auto *made = new QThreadPool;
        made->setMaxThreadCount(kMostThreads);
        return made;
    }();
    return pool;
}

bool isPatientWorkOpen()
{
    return patientPool()->activeThreadCount() > 0;
}

} // namespace velmora
