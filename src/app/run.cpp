// SPDX-License-Identifier: MIT
#include "app/run.h"

namespace velmora
{

Run::Run(RunContext context)
    : m_context(std::move(context))
{
}

Run::~Run() = default;

QCoro::Task<> Run::createSession()
{
    m_session = std::make_unique<Session>(&m_context);
    return m_session->start();
}

} // namespace velmora
