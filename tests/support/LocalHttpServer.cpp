#include "LocalHttpServer.h"

#include <QList>

#include <arpa/inet.h>
#include <cerrno>
#include <chrono>
#include <cstring>
#include <netinet/in.h>
#include <poll.h>
#include <sys/eventfd.h>
#include <sys/socket.h>
#include <time.h>
#include <unistd.h>

LocalHttpServer::LocalHttpServer(Handler handler)
    : m_handler(std::move(handler))
{
    m_stopEvent = ::eventfd(0, EFD_CLOEXEC | EFD_NONBLOCK);
    const int fd = ::socket(AF_INET, SOCK_STREAM | SOCK_CLOEXEC, 0);
    if (fd < 0) {
        return;
    }
    sockaddr_in address{};
    address.sin_family = AF_INET;
    address.sin_addr.s_addr = htonl(INADDR_LOOPBACK);
    socklen_t length = sizeof address;
    if (::bind(fd, reinterpret_cast<sockaddr *>(&address), sizeof address) != 0 ||
        ::listen(fd, 16) != 0 ||
        ::getsockname(fd, reinterpret_cast<sockaddr *>(&address), &length) != 0) {
        ::close(fd);
        return;
    }
    m_port = ntohs(address.sin_port);
    m_listener = fd;
    m_acceptor = std::thread([this] { acceptLoop(); });
}

LocalHttpServer::~LocalHttpServer()
{
    m_stopping = true;
    const quint64 one = 1;
    if (m_stopEvent >= 0) {
        [[maybe_unused]] const auto written = ::write(m_stopEvent, &one, sizeof one);
    }
    if (m_acceptor.joinable()) {
        m_acceptor.join();
    }
    {
        const std::lock_guard guard(m_lock);
        for (int client : m_clients) {
            ::shutdown(client, SHUT_RDWR);
        }
    }
    for (std::thread &thread : m_threads) {
        thread.join();
    }
    if (m_listener >= 0) {
        ::close(m_listener);
    }
    if (m_stopEvent >= 0) {
        ::close(m_stopEvent);
    }
}

QUrl LocalHttpServer::url() const
{
    return QUrl(QStringLiteral("http://127.0.0.1:%1").arg(m_port));
}

int LocalHttpServer::requestCount(const QByteArray &prefix) const
{
    const std::lock_guard guard(m_lock);
    int count = 0;
    for (const QByteArray &request : m_requests) {
        count += request.startsWith(prefix) ? 1 : 0;
    }
    return count;
}

bool LocalHttpServer::waitForStop(int milliseconds)
{
    pollfd event{m_stopEvent, POLLIN, 0};
    return ::poll(&event, 1, milliseconds) > 0 || m_stopping;
}

void LocalHttpServer::acceptLoop()
{
    for (;;) {
        pollfd fds[2] = {{m_listener, POLLIN, 0}, {m_stopEvent, POLLIN, 0}};
        if (::poll(fds, 2, -1) < 0 && errno != EINTR) {
            return;
        }
        if (m_stopping || (fds[1].revents & POLLIN)) {
            return;
        }
        if (!(fds[0].revents & POLLIN)) {
            continue;
        }
        const int client = ::accept4(m_listener, nullptr, nullptr, SOCK_CLOEXEC);
        if (client < 0) {
            continue;
        }
        ++m_connections;
        const std::lock_guard guard(m_lock);
        m_clients.push_back(client);
        m_threads.emplace_back([this, client] { serve(client); });
    }
}

bool LocalHttpServer::sendAll(int client, const char *data, std::size_t size)
{
    while (size > 0) {
        const ssize_t sent = ::send(client, data, size, MSG_NOSIGNAL);
        if (sent < 0) {
            if (errno == EINTR) {
                continue;
            }
            return false;
        }
        data += sent;
        size -= std::size_t(sent);
    }
    return !m_stopping;
}

void LocalHttpServer::serve(int client)
{
    QByteArray pending;
    bool open = true;
    while (open && !m_stopping) {
        // One request: everything up to the blank line (GET requests carry no body).
        qsizetype end = -1;
        while ((end = pending.indexOf("\r\n\r\n")) < 0) {
            char buffer[4096];
            const ssize_t received = ::recv(client, buffer, sizeof buffer, 0);
            if (received <= 0) {
                open = false;
                break;
            }
            pending.append(buffer, received);
        }
        if (!open) {
            break;
        }
        const QByteArray head = pending.left(end);
        pending.remove(0, end + 4);
        const QList<QByteArray> requestLine = head.left(head.indexOf("\r\n")).split(' ');
        const QByteArray target = requestLine.size() >= 2 ? requestLine[1] : QByteArray("/");
        {
            const std::lock_guard guard(m_lock);
            m_requests.append(target);
        }
        const Response response = m_handler(target);

        const qint64 size =
            response.generatedBytes >= 0 ? response.generatedBytes : response.body.size();
        QByteArray headers = "HTTP/1.1 " + QByteArray::number(response.status) + " Status\r\n" +
                             "Content-Type: application/octet-stream\r\n";
        if (response.contentLength == -2) {
            headers += "Content-Length: " + QByteArray::number(size) + "\r\n";
        } else if (response.contentLength >= 0) {
            headers += "Content-Length: " + QByteArray::number(response.contentLength) + "\r\n";
        }
        const bool closeAfter = response.contentLength == -1;
        if (closeAfter) {
            headers += "Connection: close\r\n";
        }
        headers += "\r\n";
        if (!sendAll(client, headers.constData(), std::size_t(headers.size()))) {
            break;
        }
        if (response.stall) {
            waitForStop(-1);
            break;
        }

        static const QByteArray pattern(64 * 1024, 'k');
        const qint64 chunk =
            response.bytesPerSecond > 0
                ? std::clamp<qint64>(qint64(response.bytesPerSecond / 400), 1024, pattern.size())
                : pattern.size();
        timespec start{};
        ::clock_gettime(CLOCK_MONOTONIC, &start);
        qint64 sent = 0;
        bool dropped = false;
        while (sent < size) {
            qint64 piece = std::min(chunk, size - sent);
            if (response.dropAfter >= 0 && sent + piece > response.dropAfter) {
                piece = response.dropAfter - sent;
                dropped = true;
            }
            if (response.bytesPerSecond > 0) {
                // Byte k leaves no earlier than k / rate after the start: the body takes size/rate.
                const double due = double(sent + piece) / response.bytesPerSecond;
                timespec at = start;
                const auto nanoseconds = qint64(due * 1e9);
                at.tv_sec += time_t(nanoseconds / 1'000'000'000);
                at.tv_nsec += long(nanoseconds % 1'000'000'000);
                if (at.tv_nsec >= 1'000'000'000) {
                    at.tv_nsec -= 1'000'000'000;
                    ++at.tv_sec;
                }
                while (::clock_nanosleep(CLOCK_MONOTONIC, TIMER_ABSTIME, &at, nullptr) == EINTR) {
                }
            }
            const char *data = response.generatedBytes >= 0 ? pattern.constData()
                                                            : response.body.constData() + sent;
            if (piece > 0 && !sendAll(client, data, std::size_t(piece))) {
                dropped = true;
                break;
            }
            sent += piece;
            if (dropped) {
                break;
            }
        }
        if (dropped || closeAfter) {
            break;
        }
    }
    {
        const std::lock_guard guard(m_lock);
        m_clients.remove(client);
    }
    ::shutdown(client, SHUT_RDWR);
    ::close(client);
}
