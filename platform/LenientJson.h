#pragma once

#include <string>
#include <string_view>
#include <vector>

/// JSON that other programs read although a strict reader refuses it, made strict.
///
/// Two things are meant (RFC 8259, sections 6 and 8.2, leaves both to the reader): an escape of
/// half a surrogate pair, which stands for no character, and a number beyond the range of doubles.
/// All else is left as it is, well-formed or not. Plain C++, since the bridge reads with it too.
namespace LenientJson {

/// `text` with U+FFFD for each lone half and null for each number out of range.
[[nodiscard]] std::string mended(std::string_view text);

/// For a document that is to be written back: what a strict reader would refuse travels through it
/// under names that the document does not use.
class Disguise {
public:
    /// The names are none that stand in `avoided` either: another document that goes into the same.
    explicit Disguise(std::string_view text, std::string_view avoided = {});

    /// The document with its lone halves and numbers out of range in disguise.
    [[nodiscard]] const std::string& text() const { return m_text; }
    /// `written`, made from the document, with what was disguised as it was.
    [[nodiscard]] std::string restored(std::string written) const;

private:
    std::string m_mark;
    std::string m_text;
    std::vector<std::string> m_originals;
};

} // namespace LenientJson
