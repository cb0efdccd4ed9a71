#pragma once

#include <QBuffer>
#include <QImage>
#include <QProcess>
#include <QRandomGenerator>
#include <QTest>

#include <memory>

// Other programs at the clipboard, for the tests of ours.

/// A PNG of noise, which hardly shrinks: about four bytes for each pixel.
inline QByteArray noisePicture(const QSize& size)
{
    QImage image(size, QImage::Format_RGB32);
    QRandomGenerator random(1);
    random.fillRange(reinterpret_cast<quint32*>(image.bits()), image.sizeInBytes() / 4);
    QByteArray bytes;
    QBuffer buffer(&bytes);
    image.save(&buffer, "PNG");
    return bytes;
}

/// Ends a program that is not needed any more, a stopped one too.
struct Killed {
    void operator()(QProcess* program) const
    {
        program->kill();
        program->waitForFinished();
        delete program;
    }
};
using CopyingProgram = std::unique_ptr<QProcess, Killed>;

/// Starts `program`, which copies what it reads, and gives it `bytes`.
inline CopyingProgram startedCopy(const QString& program, const QStringList& arguments,
                                  const QByteArray& bytes)
{
    CopyingProgram copying(new QProcess);
    copying->start(program, arguments);
    copying->write(bytes);
    while (copying->bytesToWrite() > 0 && copying->waitForBytesWritten()) { }
    copying->closeWriteChannel();
    return copying;
}

/// What `program`, which pastes, gets.
inline QByteArray pastedBy(const QString& program, const QStringList& arguments)
{
    QProcess pasting;
    pasting.start(program, arguments);
    // It is this program that answers, so its events must go on meanwhile.
    if (!QTest::qWaitFor([&pasting] { return pasting.state() == QProcess::NotRunning; }))
        return "no answer";
    return pasting.readAllStandardOutput();
}
