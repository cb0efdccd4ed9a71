#include "platform/LenientJson.h"

#include <algorithm>
#include <charconv>
#include <functional>
#include <optional>
#include <system_error>

namespace LenientJson {
namespace {

constexpr std::size_t escapeLength = 6; // \uXXXX

/// The code unit of the escape that begins at `place`; absent when there is none.
std::optional<unsigned> escapedUnit(std::string_view text, std::size_t place)
{
    const std::string_view escape = text.substr(std::min(place, text.size()), escapeLength);
    if (escape.size() < escapeLength || !escape.starts_with("\\u"))
        return std::nullopt;
    unsigned unit = 0;
    const auto [end, error]
        = std::from_chars(escape.data() + 2, escape.data() + escapeLength, unit, 16);
    const bool isWhole = error == std::errc() && end == escape.data() + escapeLength;
    return isWhole ? std::optional(unit) : std::nullopt;
}

bool isHighHalf(std::optional<unsigned> unit)
{
    return unit && *unit >= 0xD800 && *unit <= 0xDBFF;
}

bool isLowHalf(std::optional<unsigned> unit)
{
    return unit && *unit >= 0xDC00 && *unit <= 0xDFFF;
}

bool isPartOfNumber(char letter)
{
    return (letter >= '0' && letter <= '9') || letter == '-' || letter == '+' || letter == '.'
        || letter == 'e' || letter == 'E';
}

/// Whether `number` is too large for a double. One that is too small is a zero to all readers.
bool isOutOfRange(std::string_view number)
{
    double value = 0;
    const auto [end, error] = std::from_chars(number.data(), number.data() + number.size(), value);
    const bool isSmall = number.find("e-") != std::string_view::npos
        || number.find("E-") != std::string_view::npos || number.starts_with("0.")
        || number.starts_with("-0.");
    return error == std::errc::result_out_of_range && !isSmall;
}

using StandIn = std::function<std::string(std::string_view original)>;

/// `text` with `half` in place of each lone half and `number` in place of each number out of range.
std::string replaced(std::string_view text, const StandIn& half, const StandIn& number)
{
    std::string result;
    result.reserve(text.size());
    bool isInString = false;
    for (std::size_t i = 0; i < text.size();) {
        std::size_t length = 1;
        if (isInString && text[i] == '\\') {
            const auto unit = escapedUnit(text, i);
            const bool isPair = isHighHalf(unit) && isLowHalf(escapedUnit(text, i + escapeLength));
            length = isPair ? 2 * escapeLength : unit ? escapeLength : 2;
            if (!isPair && (isHighHalf(unit) || isLowHalf(unit))) {
                result += half(text.substr(i, length));
                i += length;
                continue;
            }
        } else if (text[i] == '"') {
            isInString = !isInString;
        } else if (!isInString && isPartOfNumber(text[i])) {
            while (i + length < text.size() && isPartOfNumber(text[i + length]))
                ++length;
            if (isOutOfRange(text.substr(i, length))) {
                result += number(text.substr(i, length));
                i += length;
                continue;
            }
        }
        result += text.substr(i, length);
        i += length;
    }
    return result;
}

/// A word that neither text holds; of two such words none begins with the other.
std::string unusedWord(std::string_view text, std::string_view avoided)
{
    for (unsigned number = 0;; ++number) {
        std::string word = "disguised" + std::to_string(number) + 'x';
        if (text.find(word) == std::string_view::npos
            && avoided.find(word) == std::string_view::npos)
            return word;
    }
}

} // namespace

std::string mended(std::string_view text)
{
    return replaced(
        text, [](std::string_view) { return "\\ufffd"; }, [](std::string_view) { return "null"; });
}

Disguise::Disguise(std::string_view text, std::string_view avoided)
    : m_mark(unusedWord(text, avoided))
{
    const auto disguise = [this](std::string_view original) {
        m_originals.emplace_back(original);
        return m_mark + std::to_string(m_originals.size() - 1) + ';';
    };
    m_text = replaced(text, disguise, [&disguise](std::string_view original) {
        return '"' + disguise(original) + '"';
    });
}

std::string Disguise::restored(std::string written) const
{
    std::size_t place = 0;
    while ((place = written.find(m_mark, place)) != std::string::npos) {
        const std::size_t end = written.find(';', place);
        const std::string& original
            = m_originals.at(std::stoul(written.substr(place + m_mark.size())));
        // A number stood in quotes that are the disguise's own.
        const bool isNumber = original.front() != '\\';
        const std::size_t from = isNumber ? place - 1 : place;
        const std::size_t to = isNumber ? end + 2 : end + 1;
        written.replace(from, to - from, original);
        place = from + original.size();
    }
    return written;
}

} // namespace LenientJson
