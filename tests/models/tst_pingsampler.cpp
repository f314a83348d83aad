#include "TestEnvironment.h"
#include "telemetry/PingSampler.h"

#include <QCoro/QCoroSignal>
#include <QGuiApplication>
#include <QSignalSpy>
#include <QStandardPaths>
#include <QTest>

#include <memory>

using namespace Qt::StringLiterals;

namespace {

/// One echo the test answers when it chooses.
class HeldEcho : public QObject {
    Q_OBJECT

public:
    void answer(const QByteArray &output)
    {
        m_output = output;
        Q_EMIT answered();
    }
    [[nodiscard]] std::optional<QByteArray> output() const { return m_output; }

Q_SIGNALS:
    void answered();

private:
    std::optional<QByteArray> m_output;
};

QByteArray reply(const char *milliseconds)
{
    return QByteArray("64 bytes from 1.1.1.1: icmp_seq=1 ttl=57 time=") + milliseconds + " ms\n";
}

} // namespace

// The monitors' latency probe on echoes the test answers in any order.
class TestPingSampler : public QObject {
    Q_OBJECT

private:
    std::vector<std::shared_ptr<HeldEcho>> m_echoes;
    std::unique_ptr<PingSampler> m_sampler;

    void answer(std::size_t echo, const QByteArray &output)
    {
        m_echoes.at(echo)->answer(output);
        QCoreApplication::processEvents();
        QCoreApplication::processEvents();
    }

private Q_SLOTS:
    void init()
    {
        m_echoes.clear();
        m_sampler =
            std::make_unique<PingSampler>([this]() -> QCoro::Task<std::optional<QByteArray>> {
                auto echo = std::make_shared<HeldEcho>();
                m_echoes.push_back(echo);
                co_await qCoro(echo.get(), &HeldEcho::answered);
                co_return echo->output();
            });
    }

    void cleanup()
    {
        m_sampler.reset();
        for (const auto &echo : m_echoes) {
            echo->answer({});
        }
        QCoreApplication::processEvents();
    }

    void oneEchoInFlightPerStream()
    {
        const int first = m_sampler->addStream();
        const int second = m_sampler->addStream();
        m_sampler->probe(first);
        m_sampler->probe(first);
        m_sampler->probe(first);
        QCOMPARE(m_echoes.size(), std::size_t(1));
        m_sampler->probe(second);
        m_sampler->probe(second);
        QCOMPARE(m_echoes.size(), std::size_t(2));

        QSignalSpy measured(m_sampler.get(), &PingSampler::measured);
        answer(0, reply("12.5"));
        QCOMPARE(measured.size(), 1);
        QCOMPARE(measured.at(0).at(0).toDouble(), 12.5);
        m_sampler->probe(first);
        QCOMPARE(m_echoes.size(), std::size_t(3));
        m_sampler->probe(second);
        QCOMPARE(m_echoes.size(), std::size_t(3));
    }

    // An echo sent at second 1 that answers after one sent at second 2 was reported is dropped:
    // the shown latency never steps back to an older measurement.
    void anAnswerOlderThanTheNewestReportedIsDropped()
    {
        const int first = m_sampler->addStream();
        const int second = m_sampler->addStream();
        QSignalSpy measured(m_sampler.get(), &PingSampler::measured);
        m_sampler->probe(first);  // echo 0
        m_sampler->probe(second); // echo 1
        answer(1, reply("20.0"));
        answer(0, reply("900.0"));
        QCOMPARE(measured.size(), 1);
        QCOMPARE(measured.at(0).at(0).toDouble(), 20.0);

        // Newer than the newest reported: reported.
        m_sampler->probe(first); // echo 2
        answer(2, reply("30.0"));
        QCOMPARE(measured.size(), 2);
        QCOMPARE(measured.at(1).at(0).toDouble(), 30.0);
    }

    // An older echo that fails or has no time does not hold newer ones back.
    void failuresReportNothing()
    {
        const int first = m_sampler->addStream();
        const int second = m_sampler->addStream();
        QSignalSpy measured(m_sampler.get(), &PingSampler::measured);
        m_sampler->probe(first);
        m_sampler->probe(second);
        answer(1, "1 packets transmitted, 0 received, 100% packet loss\n");
        answer(0, reply("15.0"));
        QCOMPARE(measured.size(), 1);
        QCOMPARE(measured.at(0).at(0).toDouble(), 15.0);
    }

    void anUnknownStreamSendsNothing()
    {
        m_sampler->probe(0);
        m_sampler->probe(-1);
        QVERIFY(m_echoes.empty());
    }

    // An answer after the sampler has gone touches nothing.
    void answerAfterTheSamplerIsGone()
    {
        m_sampler->probe(m_sampler->addStream());
        QCOMPARE(m_echoes.size(), std::size_t(1));
        m_sampler.reset();
        answer(0, reply("10.0"));
    }
};

KV_TEST_MAIN(TestPingSampler)
#include "tst_pingsampler.moc"
