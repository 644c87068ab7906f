#include "quick/mailbox.h"

#include <utility>

namespace quick {

Mailbox::Mailbox(std::function<void()> wakeUp) : m_wakeUp(std::move(wakeUp)) {}

void Mailbox::put(const rtu::Tag &tag, const rtu::TagValue &value)
{
    const std::lock_guard<std::mutex> held(m_mutex);
    m_content.values[tag] = value;
    wake();
}

void Mailbox::put(Message message)
{
    const std::lock_guard<std::mutex> held(m_mutex);
    m_content.messages.push_back(std::move(message));
    wake();
}

void Mailbox::wake()
{
    if (m_woken)
        return;
    m_woken = true;
    m_wakeUp();
}

Mailbox::Content Mailbox::take()
{
    const std::lock_guard<std::mutex> held(m_mutex);
    Content content;
    std::swap(content, m_content);
    m_woken = false;
    return content;
}

bool Mailbox::hasMail()
{
    const std::lock_guard<std::mutex> held(m_mutex);
    return m_woken;
}

} // namespace quick
