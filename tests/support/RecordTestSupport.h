#pragma once
// Helpers of the server tests: stored records as the tests write them, and the error a call throws.

#include "server/TableSet.h"
#include "services/ErrorContext.h"

namespace kvedit::test {

// A record with a text.
inline server::Record Full(const QString &text, qint16 revision = 1, int status = sfApproved, const QString &description = {})
{
    server::Record r;
    r.text = text;
    r.hasText = true;
    r.revision = revision;
    r.status = status;
    r.description = description;
    return r;
}

// What the call throws; number 0 when it throws nothing.
template <typename F>
KvError ErrorOf(F &&f)
{
    try {
        f();
    } catch (const KvError &e) {
        return e;
    }
    return KvError(0, QString());
}

} // namespace kvedit::test
