#pragma once

#include <QCoreApplication>
#include <QFileInfo>
#include <QTcpServer>
#include <QTcpSocket>
#include <QTest>

#include <functional>
#include <optional>

/// A web service on loopback, for programs that insist on one. Needs the event loop of its thread.
class LoopbackService : public QTcpServer {
public:
    struct Reply {
        QByteArray status = "200 OK";
        QByteArray body;
        QByteArray contentType = "application/json";
        QByteArray headers; // further ones, each with its line end
    };

    LoopbackService()
    {
        connect(this, &QTcpServer::newConnection, this, [this] {
            QTcpSocket* socket = nextPendingConnection();
            connect(socket, &QTcpSocket::readyRead, this, [this, socket] { take(socket); });
            connect(socket, &QTcpSocket::disconnected, socket, &QObject::deleteLater);
        });
        if (!listen(QHostAddress::LocalHost))
            qFatal("no loopback server");
    }

    [[nodiscard]] QByteArray address() const
    {
        return "http://127.0.0.1:" + QByteArray::number(serverPort());
    }

    /// Gives the reply to a request, told by its first line, such as "GET /x HTTP/1.1"; without one
    /// the caller waits for ever.
    std::function<std::optional<Reply>(const QByteArray& request)> onRequest;

private:
    void take(QTcpSocket* socket)
    {
        const QByteArray request = socket->peek(socket->bytesAvailable());
        const qsizetype head = request.indexOf("\r\n\r\n");
        if (head < 0)
            return;
        // A caller that is still sending its question would take an early answer for an error.
        const QByteArray lower = request.left(head).toLower();
        const qsizetype length = lower.indexOf("content-length:");
        const qsizetype expected = length < 0
            ? 0
            : lower.mid(length + 15, lower.indexOf("\r\n", length) - length - 15).trimmed().toInt();
        if (request.size() < head + 4 + expected)
            return;
        socket->readAll();
        if (const auto reply = onRequest(request.left(request.indexOf("\r\n")))) {
            socket->write("HTTP/1.1 " + reply->status + "\r\nContent-Type: " + reply->contentType
                          + "\r\nConnection: close\r\n" + reply->headers + "Content-Length: "
                          + QByteArray::number(reply->body.size()) + "\r\n\r\n" + reply->body);
            socket->disconnectFromHost();
        }
    }
};

/// The main function of a test against `program`: skips it by name when that is not there.
template<typename Test> int runAgainst(const QString& program, int argc, char** argv)
{
    QCoreApplication application(argc, argv);
    if (QFileInfo::exists(program)) {
        Test test;
        return QTest::qExec(&test, argc, argv);
    }
    qInfo("SKIP: %s is not there", qPrintable(program));
    return 77;
}
