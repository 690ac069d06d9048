// The status-bar dialects: what each bar would obey is escaped, and stale records are marked.
#include "core/widgets/bar_format.h"

#include <gtest/gtest.h>

#include "core/util/json_fields.h"

namespace trivo::widgets {
namespace {

Rendering hostile() {
  Rendering r;
  r.lines = {{TextLine::Style::title, "Essay <b>&"}, {TextLine::Style::plain, "12:00 left"}};
  r.barText = "12:00 50% %{A1:rm -rf ~:}#(reboot)#[fg=red] <i>&";
  r.barClass = "running";
  return r;
}

TEST(BarFormat, EachFormatEscapesWhatItsBarReadsAsMarkupOrCommands) {
  const auto r = hostile();
  const Json waybar = Json::parse(formatBarLine(r, BarFormat::waybar));
  EXPECT_EQ(waybar["text"], "12:00 50% %{A1:rm -rf ~:}#(reboot)#[fg=red] &lt;i&gt;&amp;");
  EXPECT_EQ(waybar["tooltip"], "Essay &lt;b&gt;&amp;\n12:00 left");
  EXPECT_EQ(waybar["class"], "running");
  EXPECT_EQ(formatBarLine(r, BarFormat::i3blocks), r.barText);
  EXPECT_EQ(formatBarLine(r, BarFormat::polybar),
            "12:00 50%% %%{A1:rm -rf ~:}#(reboot)#[fg=red] <i>&");
  EXPECT_EQ(formatBarLine(r, BarFormat::tmux),
            "12:00 50% %{A1:rm -rf ~:}##(reboot)##[fg=red] <i>&");
}

TEST(BarFormat, NamesAreTheFourBars) {
  const std::pair<const char*, std::optional<BarFormat>> cases[] = {
      {"waybar", BarFormat::waybar},   {"i3blocks", BarFormat::i3blocks},
      {"polybar", BarFormat::polybar}, {"tmux", BarFormat::tmux},
      {"Waybar", std::nullopt},        {"", std::nullopt}};
  for (const auto& [name, format] : cases) EXPECT_EQ(barFormatFromName(name), format) << name;
}

TEST(BarFormat, AStaleRenderingSaysSoInTextClassAndTooltip) {
  auto r = hostile();
  markStale(r, "11:40");
  EXPECT_EQ(r.barClass, "stale");
  EXPECT_EQ(formatBarLine(r, BarFormat::i3blocks), hostile().barText + " (stale)");
  EXPECT_EQ(Json::parse(formatBarLine(r, BarFormat::waybar))["tooltip"].get<std::string>().rfind(
                "Trivo has not updated this since 11:40; it may be out of date.\nEssay", 0),
            0u);
}

}  // namespace
}  // namespace trivo::widgets
