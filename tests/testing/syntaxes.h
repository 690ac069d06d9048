// Tests that run once per page syntax, named "Markdown" and "Org".
#pragma once

#include <gtest/gtest.h>

#include <string>

#include "core/vault/vault_format.h"

namespace trivo::testing {

inline auto bothSyntaxes() { return ::testing::Values(VaultFormat::markdown, VaultFormat::org); }

inline std::string syntaxName(const ::testing::TestParamInfo<VaultFormat>& info) {
  return info.param == VaultFormat::org ? "Org" : "Markdown";
}

}  // namespace trivo::testing
