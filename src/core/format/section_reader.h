// Walks the sections of one page for the serializer: finds each known section by its heading
// (or an older one), hands its lines to the section's grammar, and keeps everything no grammar
// took in the page's Passthrough so that writing the page puts it back.
#pragma once

#include <cstddef>
#include <memory>
#include <type_traits>
#include <map>
#include <optional>
#include <span>
#include <string>
#include <string_view>

#include "core/format/text_syntax.h"
#include "core/records/passthrough.h"

namespace trivo {

// A section a page kind knows: its key (never shown) and its heading as the vault's language
// writes it.
struct KnownSection {
  std::string key;
  std::string title;
  bool operator==(const KnownSection&) const = default;
};

// A callable that is offered one line at a time, passed by reference: unlike std::function it
// neither copies nor allocates, since every section of every page is read through one. It must
// not outlive what it refers to.
class LineVisitor {
 public:
  template <class F>
    requires(!std::is_same_v<std::remove_cvref_t<F>, LineVisitor> &&
             std::is_object_v<std::remove_reference_t<F>> &&
             std::is_invocable_r_v<bool, F&, std::string_view>)
  // NOLINTNEXTLINE(google-explicit-constructor): stands in for the callable it refers to
  LineVisitor(F&& f)
      : object_(const_cast<void*>(static_cast<const void*>(std::addressof(f)))),
        call_([](void* object, std::string_view line) {
          return static_cast<bool>((*static_cast<std::remove_reference_t<F>*>(object))(line));
        }) {}
  bool operator()(std::string_view line) const { return call_(object_, line); }

 private:
  void* object_;
  bool (*call_)(void*, std::string_view);
};

class SectionReader {
 public:
  Passthrough pass;
  TextSyntax syntax;

  // `words`: the page's Org TODO keywords; none when null.
  explicit SectionReader(TextSyntax syntaxIn, std::shared_ptr<const TodoWords> words = nullptr);

  [[nodiscard]] const TodoWords& todoWords() const;

  // The key under which a section is kept in the Passthrough: the key itself at the top of a
  // page, "path/key" for the parts of a section (such as the parts of a reflection). The key ""
  // stands for the place before the first known section.
  static std::string sectionKey(std::string_view path, std::string_view key);

  // Splits `text` at the headings of `level` and assigns each block to the first known section
  // whose title (ignoring ASCII case, surrounding white space and trailing tags) or older heading
  // it carries; a second block with the same heading, and blocks with unknown headings, become
  // unknown sections after the known section they followed. Tags on a known heading are kept.
  // Returns the text before the first heading.
  std::string read(std::string_view text, int level, std::span<const KnownSection> known,
                   std::string_view path = {});

  // The body of a known section found by `read`, under its section key; nothing when the page
  // lacks the section.
  [[nodiscard]] std::optional<std::string> body(std::string_view key) const;

  // Offers every line of the section `key` to `consume`, in order. The lines it refuses are kept
  // verbatim and in order: those above the first line consumed as the section's lead, the others
  // as its tail. Blank lines at the start of the lead and at the end of the tail are dropped, and
  // a run of blank lines (left where consumed lines stood between them) is kept as one; the lead
  // keeps one blank line at its end when one stood before the first line consumed. Returns how
  // many lines were consumed; 0 when the section is missing.
  std::size_t linesCounting(std::string_view key, LineVisitor consume);

 private:
  std::map<std::string, std::string, std::less<>> bodies_;
  std::shared_ptr<const TodoWords> todoWords_;
};

}  // namespace trivo
