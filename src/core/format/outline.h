// A page's text as a preamble and a list of blocks, one per heading of a given level, plus the
// front matter of Markdown pages. Splitting remembers the exact spacing it met, so a text that
// is split and rendered again comes back byte for byte.
#pragma once

#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/format/text_syntax.h"
#include "core/records/passthrough.h"

namespace trivo {

struct Outline {
  // One section: its heading text without the marker, and everything under it up to the next
  // heading of its level, without leading or trailing blank lines.
  struct Block {
    std::string title;
    std::string body;

    // The heading marker of `level` and the title; then nothing when the body is empty,
    // otherwise a line break and the body, with a blank line between when the body begins with
    // the syntax's heading character so that a sub-heading never sits right under its parent.
    [[nodiscard]] std::string render(int level, TextSyntax syntax) const;
    bool operator==(const Block&) const = default;
  };

  // The blank lines around the content of one part (the preamble or a block's body), as read.
  struct Gap {
    std::vector<std::string> before;
    std::vector<std::string> after;
    bool operator==(const Gap&) const = default;
  };
  // How a split text was laid out: byte-order mark, CRLF line ends, and one Gap for the preamble
  // followed by one per block. A Layout with no gaps renders the canonical spacing.
  struct Layout {
    bool byteOrderMark = false;
    bool crlf = false;
    std::vector<Gap> gaps;
    bool operator==(const Layout&) const = default;
  };
  struct Split {
    std::string preamble;  // the text before the first heading, without surrounding blank lines
    std::vector<Block> blocks;
    Layout layout;
    bool operator==(const Split&) const = default;
  };

  // Cuts a text at the headings of `level`. Heading markers inside fenced blocks are not
  // headings. A leading byte-order mark is set aside, and CRLF line ends (when every line
  // ends so) are read as "\n"; both are restored by render.
  static Split split(std::string_view text, int level, TextSyntax syntax);
  // The text of a split: exactly the text it came from when the split's layout still matches its
  // blocks, otherwise the preamble and the rendered blocks joined with one blank line each.
  static std::string render(const Split& split, int level, TextSyntax syntax);

  // Drops the empty parts and joins the rest with "\n\n".
  static std::string join(std::span<const std::string> parts);
  // Drops blank lines (empty or white space only) at the start and end, keeps inner ones, and
  // joins the rest with "\n".
  static std::string trimBlankLines(std::span<const std::string> lines);
  static std::string trimBlankLines(std::span<const std::string_view> lines);

  // "---", one "key: value" line per field ("key:" + value when the value is empty or begins
  // with a line break), "---", without a final line break.
  static std::string renderFrontmatter(std::span<const FrontmatterField> fields);
  // Reads the "---" block at the top of a Markdown page (after a byte-order mark, which is
  // dropped). A text whose first line is not "---" has no front matter. Lines beginning with "- " (after indentation) and other lines without a
  // colon continue the value of the field above, kept with their line breaks. Throws
  // SerializerError::malformedFrontmatter when "---" is the only line, or when a line without a
  // colon has no field above it. The rest is the text after the closing line, byte for byte (a
  // view into `text`).
  static TextSyntax::Front splitFrontmatter(std::string_view text);
};

}  // namespace trivo
