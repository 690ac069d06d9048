// The board server's caps on connections.
#include "core/widgets/connection_gate.h"

#include <gtest/gtest.h>

#include <vector>

namespace trivo::widgets {
namespace {

TEST(ConnectionGate, CapsEachAddressAndTheWholeAndGivesPlacesBack) {
  ConnectionGate gate(2, 3);
  std::vector<ConnectionGate::Pass> held;
  held.push_back(*gate.enter("127.0.0.2"));
  held.push_back(*gate.enter("127.0.0.2"));
  // The greedy address is full; another address still gets in, up to the total.
  EXPECT_FALSE(gate.enter("127.0.0.2"));
  auto other = gate.enter("127.0.0.1");
  ASSERT_TRUE(other);
  EXPECT_FALSE(gate.enter("127.0.0.3"));
  EXPECT_EQ(gate.held(), 3u);
  EXPECT_EQ(gate.held("127.0.0.2"), 2u);

  held.pop_back();
  EXPECT_EQ(gate.held("127.0.0.2"), 1u);
  EXPECT_TRUE(gate.enter("127.0.0.3"));  // given back at once at the end of this statement
  // A moved pass is given back once, by its new owner.
  {
    auto moved = std::move(*other);
    other.reset();
    EXPECT_EQ(gate.held("127.0.0.1"), 1u);
  }
  EXPECT_EQ(gate.held("127.0.0.1"), 0u);
  held.clear();
  EXPECT_EQ(gate.held(), 0u);
}

}  // namespace
}  // namespace trivo::widgets
