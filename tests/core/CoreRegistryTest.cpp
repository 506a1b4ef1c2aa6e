// Table registry: exact-version lookup, entry replacement, the Core and Obj
// tables as registered.
#include <gtest/gtest.h>

#include "core/Atoms.h"
#include "core/TableRegistry.h"
#include "tables/CoreTable.h"
#include "tables/ObjTable.h"

#define FOLIO_HOST_SIDE
#include "folio/CoreHFT.h"
#include "folio/ObjHFT.h"

using namespace folio;
using namespace folio::tables;

namespace {
int one()
{
  return 1;
}
int two()
{
  return 2;
}
int three()
{
  return 3;
}

FSProc p(int (*f)())
{
  return reinterpret_cast<FSProc>(f);
}

int call(HFT table, int selector)
{
  return reinterpret_cast<int (*)()>(table[selector])();
}
} // namespace

TEST(CoreRegistry, FindsTableAtExactVersion)
{
  TableRegistry reg;
  FSProc entries[3] = {nullptr, p(one), p(two)};
  HFT t = reg.add("Sample", 0x00020002, entries, 3);
  ASSERT_NE(t, nullptr);
  EXPECT_EQ(reg.find("Sample", 0x00020002), t);
  EXPECT_EQ(reg.find(atomFromString("Sample"), 0x00020002), t);
  EXPECT_EQ(call(t, 1), 1);
  EXPECT_EQ(call(t, 2), 2);
}

TEST(CoreRegistry, OtherVersionsAreNotFound)
{
  TableRegistry reg;
  FSProc entries[2] = {nullptr, p(one)};
  reg.add("Sample", 0x00020002, entries, 2);
  EXPECT_EQ(reg.find("Sample", 0x00020001), nullptr);
  EXPECT_EQ(reg.find("Sample", 0x00020003), nullptr);
  EXPECT_EQ(reg.find("Sample", 0x00030002), nullptr);
  EXPECT_EQ(reg.find("Sample", 0), nullptr);
}

TEST(CoreRegistry, UnknownNameIsNotFound)
{
  TableRegistry reg;
  EXPECT_EQ(reg.find("NoSuchTable", 0x00020002), nullptr);
  EXPECT_EQ(reg.find(atomFromString("NoSuchTable"), 0x00020002), nullptr);
  EXPECT_EQ(reg.find(FSAtomNull, 0x00020002), nullptr);
  EXPECT_EQ(reg.find(static_cast<const char *>(nullptr), 0x00020002), nullptr);
}

TEST(CoreRegistry, NameMatchIsCaseSensitive)
{
  TableRegistry reg;
  FSProc entries[2] = {nullptr, p(one)};
  reg.add("Sample", 0x00020000, entries, 2);
  EXPECT_EQ(reg.find("sample", 0x00020000), nullptr);
}

TEST(CoreRegistry, SameNameAtSeveralVersionsAreSeparateTables)
{
  TableRegistry reg;
  FSProc e0[2] = {nullptr, p(one)};
  FSProc e2[2] = {nullptr, p(two)};
  HFT v20 = reg.add("Unix", 0x00020000, e0, 2);
  HFT v22 = reg.add("Unix", 0x00020002, e2, 2);
  ASSERT_NE(v20, v22);
  EXPECT_EQ(call(reg.find("Unix", 0x00020000), 1), 1);
  EXPECT_EQ(call(reg.find("Unix", 0x00020002), 1), 2);
  EXPECT_EQ(reg.find("Unix", 0x00020001), nullptr);
  EXPECT_EQ(reg.versions("Unix"), (std::vector<FSUns32>{0x00020000, 0x00020002}));
}

TEST(CoreRegistry, DuplicateRegistrationIsRefusedAndKeepsTheFirst)
{
  TableRegistry reg;
  FSProc first[2] = {nullptr, p(one)};
  FSProc second[2] = {nullptr, p(two)};
  HFT t = reg.add("Sample", 0x00020002, first, 2);
  EXPECT_EQ(reg.add("Sample", 0x00020002, second, 2), nullptr);
  EXPECT_EQ(reg.find("Sample", 0x00020002), t);
  EXPECT_EQ(call(t, 1), 1);
}

TEST(CoreRegistry, BadRegistrationsAreRefused)
{
  TableRegistry reg;
  FSProc entries[2] = {nullptr, p(one)};
  EXPECT_EQ(reg.add(nullptr, 1, entries, 2), nullptr);
  EXPECT_EQ(reg.add("", 1, entries, 2), nullptr);
  EXPECT_EQ(reg.add("Sample", 1, entries, 0), nullptr);
}

TEST(CoreRegistry, EntriesAreCopiedAndEntryZeroIsNull)
{
  TableRegistry reg;
  FSProc entries[3] = {p(three), p(one), p(two)};
  HFT t = reg.add("Sample", 1, entries, 3);
  entries[1] = p(three); // the caller's array is no longer used
  EXPECT_EQ(t[0], nullptr);
  EXPECT_EQ(call(t, 1), 1);
  EXPECT_EQ(reg.entryCount("Sample", 1), 3u);
}

TEST(CoreRegistry, NullEntriesGiveAnAllNullTable)
{
  TableRegistry reg;
  HFT t = reg.add("Placeholder", 1, nullptr, 5);
  ASSERT_NE(t, nullptr);
  for (int i = 0; i < 5; ++i)
    EXPECT_EQ(t[i], nullptr);
}

TEST(CoreRegistry, ReplacedEntryIsReachedAtNextCallThroughHeldTable)
{
  TableRegistry reg;
  FSProc entries[3] = {nullptr, p(one), p(two)};
  HFT held = reg.add("Sample", 0x00020002, entries, 3); // as an extension keeps it
  EXPECT_EQ(call(held, 2), 2);
  EXPECT_TRUE(reg.replaceEntry("Sample", 0x00020002, 2, p(three)));
  EXPECT_EQ(call(held, 2), 3);
  EXPECT_EQ(call(held, 1), 1); // the others are untouched
  EXPECT_EQ(reg.find("Sample", 0x00020002), held);
}

TEST(CoreRegistry, ReplaceEntryOutOfRangeIsRefused)
{
  TableRegistry reg;
  FSProc entries[3] = {nullptr, p(one), p(two)};
  HFT t = reg.add("Sample", 1, entries, 3);
  EXPECT_FALSE(reg.replaceEntry("Sample", 1, 0, p(three)));
  EXPECT_FALSE(reg.replaceEntry("Sample", 1, 3, p(three)));
  EXPECT_EQ(t[0], nullptr);
  EXPECT_EQ(call(t, 1), 1);
  EXPECT_EQ(call(t, 2), 2);
}

TEST(CoreRegistry, ReplaceEntryOfUnknownTableIsRefused)
{
  TableRegistry reg;
  FSProc entries[2] = {nullptr, p(one)};
  reg.add("Sample", 1, entries, 2);
  EXPECT_FALSE(reg.replaceEntry("Sample", 2, 1, p(three)));
  EXPECT_FALSE(reg.replaceEntry("Other", 1, 1, p(three)));
  EXPECT_FALSE(reg.replaceEntry(nullptr, 1, 1, p(three)));
}

TEST(CoreRegistry, ProcessRegistryIsOneObject)
{
  EXPECT_EQ(&tableRegistry(), &tableRegistry());
}

TEST(CoreRegistry, CoreTablesRegisterCoreAndObj)
{
  TableRegistry reg;
  HFT core = registerCoreTables(reg);
  ASSERT_NE(core, nullptr);
  EXPECT_EQ(reg.find("Core", 0x00020000), core);
  EXPECT_EQ(reg.entryCount("Core", 0x00020000), static_cast<std::size_t>(CoreNUMSELECTORS));
  EXPECT_EQ(core[0], nullptr);
  for (int i = 1; i < CoreNUMSELECTORS; ++i)
    EXPECT_NE(core[i], nullptr) << "Core entry " << i;
  HFT obj = reg.find("Obj", 0x00020002);
  ASSERT_NE(obj, nullptr);
  EXPECT_EQ(reg.entryCount("Obj", 0x00020002), static_cast<std::size_t>(ObjNUMSELECTORS));
  EXPECT_EQ(reg.find("Obj", 0x00020001), nullptr);
}

TEST(CoreRegistry, RegisteringCoreTablesTwiceGivesTheSameTable)
{
  TableRegistry reg;
  HFT first = registerCoreTables(reg);
  EXPECT_EQ(registerCoreTables(reg), first);
}

TEST(CoreRegistry, ProcessCoreTableIsInProcessRegistry)
{
  HFT core = coreTable();
  EXPECT_EQ(tableRegistry().find("Core", kCoreTableVersion), core);
  EXPECT_NE(tableRegistry().find(ObjHFT_NAME, ObjHFT_VERSION), nullptr);
}

TEST(CoreRegistry, ObjEntriesAreNoOpsAnsweringZero)
{
  std::vector<HFTEntry> table = makeObjTable();
  const FSProc *entries = table.data();
  ASSERT_EQ(table.size(), static_cast<std::size_t>(ObjNUMSELECTORS));
  EXPECT_EQ(entries[0], nullptr);
  for (int i = 1; i < ObjNUMSELECTORS; ++i) {
    ASSERT_NE(entries[i], nullptr) << "Obj entry " << i;
    // Called with and without arguments: nothing happens, zero comes back.
    EXPECT_EQ(reinterpret_cast<intptr_t (*)()>(entries[i])(), 0);
    EXPECT_EQ(reinterpret_cast<void *(*)(void *, int)>(entries[i])(nullptr, 5), nullptr);
  }
}
