// Lenient record reading: defaults for missing keys, errors for wrong types.
#include "core/util/json_fields.h"

#include <gtest/gtest.h>

#include "core/vault/vault_format.h"

namespace trivo {
namespace {

TEST(JsonFields, MissingKeysKeepDefaultsNullClearsOptionalsWrongTypesThrow) {
  const Json j = Json::parse(R"({"n": 3, "o": null, "s": 4})");
  int n = 0, missing = 7;
  std::optional<int> o = 5;
  std::string s = "keep";
  json::take(j, "n", n);
  json::take(j, "missing", missing);
  json::take(j, "o", o);
  EXPECT_EQ(n, 3);
  EXPECT_EQ(missing, 7);
  EXPECT_EQ(o, std::nullopt);
  EXPECT_THROW(json::take(j, "s", s), RecordError);
  EXPECT_EQ(s, "keep");
}

TEST(JsonFields, EnumsTravelByName) {
  EXPECT_EQ(Json(VaultFormat::org).dump(), "\"org\"");
  EXPECT_EQ(Json::parse("\"markdown\"").get<VaultFormat>(), VaultFormat::markdown);
  EXPECT_THROW((void)Json::parse("\"rtf\"").get<VaultFormat>(), RecordError);
  EXPECT_THROW((void)Json::parse("1").get<VaultFormat>(), RecordError);
}

}  // namespace
}  // namespace trivo
