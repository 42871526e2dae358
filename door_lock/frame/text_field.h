// Fixed-width text fields of the records exchanged with the device and the
// host.
#ifndef NORLA_FRAME_TEXT_FIELD_H
#define NORLA_FRAME_TEXT_FIELD_H

#include <cstddef>
#include <cstring>

namespace norla {

// Copies text into a fixed field, cut to the field's width minus one; the
// rest of the field is zero-filled.
template <std::size_t N>
void CopyText(char (&field)[N], const char *text) noexcept {
    std::strncpy(field, text, N - 1);
    field[N - 1] = '\0';
}

// The text of a field the device may have filled to the brim without a
// terminator, never read past the field. Lives on the stack: no allocation
// can fail while a report is built.
template <std::size_t N>
class FieldText {
  public:
    explicit FieldText(const char (&field)[N]) noexcept {
        const std::size_t len = strnlen(field, N);
        std::memcpy(m_szText, field, len);
        m_szText[len] = '\0';
    }
    const char *c_str() const noexcept { return m_szText; }

  private:
    char m_szText[N + 1];
};

}  // namespace norla

#endif
