// The inbox model on a real vault folder in both syntaxes: captures land among the items, the
// lists, ticking repeating items, hiding, deleting and the refusals that leave the page alone.
#include "core/inbox/inbox_model.h"

#include <gtest/gtest.h>

#include "core/store/serializer_codec.h"
#include "core/store/vault_store.h"
#include "testing/fake_clock.h"
#include "testing/scoped_env.h"
#include "testing/syntaxes.h"

namespace trivo {
namespace {

using namespace std::chrono_literals;

const DayDate kInboxToday{2026, 11, 25};  // a Wednesday

class InboxModelTest : public ::testing::TestWithParam<VaultFormat> {
 protected:
  InboxModelTest() { reopen(); }

  // Writes what is queued and opens a fresh store, so reads come from the file.
  void reopen() {
    if (store_) store_->flush();
    model_.reset();
    store_.reset();
    VaultStore::Options options;
    options.debounce = 1h;
    options.clock = &clock_;
    const Vault vault{dir_.path(), GetParam(), "en", {}};
    options.codec = SerializerCodec::forVault(vault, YearMode::quarter);
    store_ = std::make_unique<VaultStore>(vault, options);
    model_ = std::make_unique<InboxModel>(*store_, clock_, kInboxToday);
  }
  std::string inboxFile() const {
    return GetParam() == VaultFormat::org ? "inbox.org" : "inbox.md";
  }
  std::string ownHeading() const { return GetParam() == VaultFormat::org ? "* Mine" : "## Mine"; }

  std::vector<std::string> texts(InboxModel::List list) {
    std::vector<std::string> out;
    for (const auto& e : model_->list(list)) out.push_back(e.item.text);
    return out;
  }

  testing::TempDir dir_;
  // 2026-11-25 14:05 UTC.
  testing::FakeClock clock_{Instant{} + 24h * 20782 + 14h + 5min};
  std::unique_ptr<VaultStore> store_;
  std::unique_ptr<InboxModel> model_;
};

// Heading items are Org's.
class InboxModelOrg : public InboxModelTest {};
INSTANTIATE_TEST_SUITE_P(Org, InboxModelOrg, ::testing::Values(VaultFormat::org),
                         testing::syntaxName);

TEST_P(InboxModelOrg, TheNumberACapturePrintsIsTheOneItKeepsAfterHeadingItems) {
  dir_.write(inboxFile(),
             "#+title: Inbox\n* TODO Renew passport\nDEADLINE: <2026-12-01 Tue>\n"
             "* TODO Call Ana\n");
  reopen();
  const auto entry = model_->capture("buy milk tomorrow");
  model_->setDone(entry.number, true);
  reopen();
  ASSERT_EQ(model_->items().size(), 3u);
  const auto found = model_->find(entry.number);
  ASSERT_TRUE(found);
  EXPECT_EQ(found->item.text, "buy milk");
  EXPECT_TRUE(found->item.done);
  for (const auto& e : model_->items()) {
    if (e.item.text != "buy milk") {
      EXPECT_FALSE(e.item.done) << e.item.text;
    }
  }
}

TEST_P(InboxModelTest, CaptureLandsAmongTheItemsAboveTheOwnersOwnSection) {
  model_->capture("pay rent");
  reopen();
  const std::string own = "\n" + ownHeading() + "\nkeep this line\n";
  dir_.write(inboxFile(), dir_.read(inboxFile()) + own);
  reopen();

  const auto entry = model_->capture("call mum friday at 6pm");
  EXPECT_EQ(entry.number, 2);
  EXPECT_EQ(entry.item.captured, kInboxToday);
  reopen();

  const std::string page = dir_.read(inboxFile());
  EXPECT_TRUE(page.ends_with(own)) << page;
  EXPECT_LT(page.find("call mum"), page.find(ownHeading())) << page;
  const auto items = model_->items();
  ASSERT_EQ(items.size(), 2u);
  EXPECT_EQ(items[1].item.due, (DayDate{2026, 11, 27}));
  EXPECT_EQ(items[1].item.time, (ClockTime{18, 0}));
  EXPECT_EQ(model_->numberOf(items[1].item.id), 2);
}

TEST_P(InboxModelTest, RefusedCapturesWriteNothing) {
  auto expectRefused = [&](std::string_view line, InboxError::Kind kind) {
    try {
      model_->capture(line);
      ADD_FAILURE() << line;
    } catch (const InboxError& e) {
      EXPECT_EQ(e.kind(), kind) << line;
    }
  };
  expectRefused("call about 2026-11-24", InboxError::Kind::pastDay);
  expectRefused("   ", InboxError::Kind::emptyText);
  store_->flush();
  EXPECT_FALSE(std::filesystem::exists(dir_.path() / inboxFile()));
  EXPECT_EQ(store_->writeCount(), 0);
}

TEST_P(InboxModelTest, EveryOpenItemIsOnOneListAndDueDaysCutAcross) {
  model_->capture("plain");
  model_->capture("ahead friday");
  model_->capture("yesterday's task 2026-11-25");
  model_->capture("dream someday");
  model_->capture("reply waiting");
  model_->capture("standup every weekday");
  model_->capture("hidden");
  model_->hideUntil(7, DayDate{2026, 12, 1});
  model_->capture("finished");
  model_->setDone(8, true);
  reopen();
  // An item due earlier is only possible by hand or by time passing: move today instead.
  InboxModel later(*store_, clock_, DayDate{2026, 11, 26});

  using L = InboxModel::List;
  EXPECT_EQ(texts(L::captured), (std::vector<std::string>{"plain", "yesterday's task"}));
  EXPECT_EQ(texts(L::later), (std::vector<std::string>{"ahead", "hidden"}));
  EXPECT_EQ(texts(L::someday), std::vector<std::string>{"dream"});
  EXPECT_EQ(texts(L::waiting), std::vector<std::string>{"reply"});
  EXPECT_EQ(texts(L::routine), std::vector<std::string>{"standup"});
  EXPECT_EQ(texts(L::today), (std::vector<std::string>{"yesterday's task", "standup"}));
  EXPECT_TRUE(texts(L::overdue).empty());

  std::vector<std::string> overdue;
  for (const auto& e : later.list(L::overdue)) overdue.push_back(e.item.text);
  EXPECT_EQ(overdue, (std::vector<std::string>{"yesterday's task", "standup"}));
  EXPECT_EQ(InboxModel::listNamed("Routine"), L::routine);
  EXPECT_FALSE(InboxModel::listNamed("done"));
}

TEST_P(InboxModelTest, TickingARepeatingItemMovesItToItsNextDayAndUntickingTakesThatBack) {
  model_->capture("standup every weekday");  // due today, a Wednesday
  model_->setDone(1, true);
  reopen();
  InboxItem item = model_->find(1)->item;
  EXPECT_FALSE(item.done);
  EXPECT_EQ(item.due, (DayDate{2026, 11, 26}));
  EXPECT_EQ(item.doneDates, std::vector<DayDate>{kInboxToday});

  model_->setDone(1, false);
  reopen();
  item = model_->find(1)->item;
  EXPECT_EQ(item.due, kInboxToday);
  EXPECT_TRUE(item.doneDates.empty());
  // Nothing left to take back: unticking again changes nothing and queues no write.
  model_->setDone(1, false);
  EXPECT_FALSE(store_->hasPendingWrite(EntryKey::inbox()));
}

TEST_P(InboxModelTest, TickingAPlainItemClosesItWithTheTimeAndUntickingReopensIt) {
  model_->capture("post letter");
  model_->setDone(1, true);
  model_->setDone(1, true);
  reopen();
  InboxItem item = model_->find(1)->item;
  EXPECT_TRUE(item.done);
  EXPECT_EQ(item.closed, kInboxToday);
  EXPECT_EQ(item.closedTime, (ClockTime{14, 5}));
  EXPECT_EQ(dir_.read(inboxFile()).find("CLOSED"), std::string::npos);

  model_->setDone(1, false);
  reopen();
  item = model_->find(1)->item;
  EXPECT_FALSE(item.done);
  EXPECT_FALSE(item.closed);
}

TEST_P(InboxModelTest, DeletingRenumbersTheItemsBelowAndUnknownNumbersAreRefused) {
  model_->capture("one");
  model_->capture("two");
  model_->capture("three");
  EXPECT_EQ(model_->remove(2).text, "two");
  reopen();
  EXPECT_EQ(model_->find(2)->item.text, "three");
  EXPECT_FALSE(model_->find(3));
  EXPECT_FALSE(model_->find(0));
  for (std::int64_t n : {0, 3, -1}) {
    EXPECT_THROW(model_->setDone(n, true), InboxError) << n;
    EXPECT_THROW(model_->remove(n), InboxError) << n;
  }
  EXPECT_THROW(model_->hideUntil(1, DayDate{2026, 11, 24}), InboxError);
  EXPECT_FALSE(store_->hasPendingWrite(EntryKey::inbox()));
}

TEST_P(InboxModelTest, ACaptureOverAnInboxChangedOnDiskIsRefusedAndTheFileKept) {
  model_->capture("one");
  reopen();
  model_->capture("two");
  const std::string edited = dir_.read(inboxFile()) + "\n" + ownHeading() + "\nedited elsewhere\n";
  dir_.write(inboxFile(), edited);
  try {
    store_->flush();
    ADD_FAILURE() << "the flush wrote over an outside edit";
  } catch (const VaultError& e) {
    EXPECT_EQ(e.kind(), VaultError::Kind::changedOnDisk);
  }
  EXPECT_EQ(dir_.read(inboxFile()), edited);
}

INSTANTIATE_TEST_SUITE_P(BothSyntaxes, InboxModelTest, testing::bothSyntaxes(),
                         testing::syntaxName);

}  // namespace
}  // namespace trivo
