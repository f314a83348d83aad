#pragma once

#include "platform/DisplayResolution.h"

#include <QList>

/// A display whose mode changes when asked, unless the test refuses.
class FakeDisplayResolution final : public platform::DisplayResolution {
public:
    std::optional<QSize> mode = QSize(2560, 1440);
    QString queryError;
    bool accepts = true;
    QList<QSize> changes;
    int queries = 0;

    QCoro::Task<Query> current() override
    {
        ++queries;
        co_return Query{queryError.isEmpty() ? mode : std::nullopt, QString(queryError)};
    }
    QCoro::Task<bool> change(QSize size) override
    {
        changes.append(size);
        if (accepts) {
            mode = size;
        }
        co_return bool(accepts);
    }
};
