// The lines under an Org outcome heading, laid out as Org lays them: the planning line, the
// property drawer, logbook drawers and log notes, then the text. Reads what Trivo wrote there
// itself apart from what Emacs or a person added, and writes both back without doubling either.
#pragma once

#include <optional>
#include <span>
#include <string>
#include <string_view>
#include <vector>

#include "core/format/text_syntax.h"

namespace trivo {

struct OrgEntry {
  // What Trivo itself writes under a heading. None of it is kept in the record: it follows from
  // the page and the record's state, and is written afresh each time.
  struct Own {
    std::string planning;                 // "SCHEDULED: <…>" or "DEADLINE: <…>"
    std::optional<std::string> doneNote;  // the state-change note a done item carries
    std::vector<std::string> clocks;      // the clock lines of the sessions spent on the item
  };

  // The entry split into the item's comments ("> words" right after the logbook) and the lines
  // kept as they stand, in their order. Trivo's own lines are not among them.
  struct Parts {
    std::vector<std::string> comments;
    std::vector<std::string> kept;
    bool operator==(const Parts&) const = default;
  };

  // Splits the lines under a heading. The own planning line is recognised only in exactly the
  // form `own.planning` (any other planning line is the person's and is kept, replacing Trivo's);
  // the done note only right after the planning line and property drawer, and only when it is the
  // entry's one state-change note; the clock lines in the first logbook drawer, wherever they
  // stand in it. `done` is the heading's state.
  static Parts read(TextSyntax syntax, std::vector<std::string> lines, const Own& own,
                    bool done);

  // The lines under the heading: the planning line (a kept one, without its CLOSED stamp when the
  // item is not done, or `own.planning`), the property drawer, the done note when the item is
  // done and no note is kept, the kept log, the comments, then the rest. Clock lines missing from
  // the first logbook drawer go to its end; without a drawer they get one of their own after the
  // log, before the comments.
  static std::vector<std::string> write(TextSyntax syntax, const Own& own, bool done,
                                        std::span<const std::string> comments,
                                        std::span<const std::string> kept);

  // The comment line of a comment text, and the comment of a line written in exactly that form.
  static std::string commentLine(std::string_view comment);
  static std::optional<std::string> comment(std::string_view line);

  // A log note as Org writes it into a logbook or under a heading ("- State …", "- Note taken on
  // …", "- CLOSING NOTE …", "- Rescheduled from …" and the other note headings).
  static bool isLogNote(std::string_view line);

  // The kept lines of an item ticked now: `note` (its state-change note, dated when the tick
  // happened) put where Org puts a new note, after the planning line and property drawer, above
  // older notes. A kept note stops the serializer from writing its own, dated by the page.
  static std::vector<std::string> ticked(std::vector<std::string> kept, std::string note);
  // The kept lines of an item opened again: the done note on top of its log, which recorded the
  // completion now undone, is taken out; older notes stay.
  static std::vector<std::string> unticked(std::vector<std::string> kept);

  // The planning line with its CLOSED stamp taken out (when an item is opened again); empty when
  // nothing else was on it.
  static std::string withoutClosed(std::string_view line);
};

}  // namespace trivo
