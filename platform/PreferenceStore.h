#pragma once

#include <QHash>
#include <QJsonObject>
#include <QJsonValue>
#include <QString>
#include <QStringList>

#include <optional>

/// The user's settings and small markers: one flat space of keys, in one JSON file.
///
/// A value of another type than the one asked for reads as missing. Every change is on the disk
/// when the call returns; a change that cannot be written (false) holds until the program ends and
/// goes out with the next one. Several processes may use the file: each sees what the others wrote
/// and none undoes it. Contents that cannot be understood are kept aside as the file's name with
/// ".bad" at its end. Main thread only.
class PreferenceStore {
public:
    /// The file and its folder need not exist.
    explicit PreferenceStore(QString file);

    [[nodiscard]] std::optional<bool> boolean(const QString& key) const;
    /// Numbers have one type in JSON: 2.0 is an integer too, 2.5 is none.
    [[nodiscard]] std::optional<qint64> integer(const QString& key) const;
    [[nodiscard]] std::optional<double> real(const QString& key) const;
    [[nodiscard]] std::optional<QString> text(const QString& key) const;
    [[nodiscard]] std::optional<QStringList> texts(const QString& key) const;
    /// All keys with a value of whatever type.
    [[nodiscard]] QStringList keys() const;

    bool setBoolean(const QString& key, bool value) { return set(key, value); }
    bool setInteger(const QString& key, qint64 value) { return set(key, value); }
    /// What is not a finite number reads as missing afterwards.
    bool setReal(const QString& key, double value);
    bool setText(const QString& key, const QString& value) { return set(key, value); }
    bool setTexts(const QString& key, const QStringList& value);
    bool remove(const QString& key) { return set(key, QJsonValue::Undefined); }

private:
    /// Tells one state of the file from another without reading it.
    struct Stamp {
        quint64 device = 0;
        quint64 node = 0;
        qint64 size = -1; // no file
        qint64 changedNanoseconds = 0;
        bool operator==(const Stamp&) const = default;
    };

    [[nodiscard]] Stamp stamp() const;
    [[nodiscard]] QJsonValue value(const QString& key) const;
    void readAgainIfChanged() const;
    bool readFileInto(QJsonObject& values) const;
    void setAsideWhatCannotBeRead() const;
    bool set(const QString& key, const QJsonValue& value);

    QString m_file;
    mutable QJsonObject m_values; // as the file has them
    mutable Stamp m_stamp;
    QHash<QString, QJsonValue> m_unwritten; // undefined for a removed key
};
