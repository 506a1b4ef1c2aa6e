// Atoms: interning, lookup without interning, strings, limits.
#include <gtest/gtest.h>

#include <cstdlib>
#include <cstring>
#include <string>

#include "core/Atoms.h"

using namespace folio;

TEST(CoreAtoms, SameStringGivesSameAtom)
{
  FSAtom a = atomFromString("CoreAtoms.same");
  FSAtom b = atomFromString(std::string("CoreAtoms.same").c_str());
  EXPECT_NE(a, FSAtomNull);
  EXPECT_EQ(a, b);
}

TEST(CoreAtoms, DifferentStringsGiveDifferentAtoms)
{
  FSAtom a = atomFromString("CoreAtoms.one");
  FSAtom b = atomFromString("CoreAtoms.two");
  FSAtom c = atomFromString("coreatoms.one"); // case matters
  EXPECT_NE(a, b);
  EXPECT_NE(a, c);
  EXPECT_NE(b, c);
}

TEST(CoreAtoms, AtomsAreNumberedFromOne)
{
  FSAtom first = atomFromString("CoreAtoms.first-of-process");
  EXPECT_GE(first, 1);
  FSAtom next = atomFromString("CoreAtoms.second-of-process");
  EXPECT_EQ(next, first + 1);
}

TEST(CoreAtoms, StringOfAtomIsACopy)
{
  char buffer[] = "CoreAtoms.copied";
  FSAtom atom = atomFromString(buffer);
  buffer[0] = 'X';
  EXPECT_STREQ(atomString(atom), "CoreAtoms.copied");
  EXPECT_NE(atomString(atom), buffer);
}

TEST(CoreAtoms, StringPointerIsStable)
{
  FSAtom atom = atomFromString("CoreAtoms.stable");
  const char *before = atomString(atom);
  for (int i = 0; i < 2000; ++i)
    atomFromString(("CoreAtoms.filler." + std::to_string(i)).c_str());
  EXPECT_EQ(atomString(atom), before);
  EXPECT_STREQ(before, "CoreAtoms.stable");
}

TEST(CoreAtoms, EmptyStringIsAnOrdinaryAtom)
{
  FSAtom atom = atomFromString("");
  EXPECT_NE(atom, FSAtomNull);
  EXPECT_STREQ(atomString(atom), "");
}

TEST(CoreAtoms, NullStringGivesNullAtom)
{
  unsigned before = atomCount();
  EXPECT_EQ(atomFromString(nullptr), FSAtomNull);
  EXPECT_EQ(atomCount(), before);
}

TEST(CoreAtoms, AtomZeroHasNoString)
{
  EXPECT_EQ(atomString(FSAtomNull), nullptr);
}

TEST(CoreAtoms, UnmadeAtomHasNoString)
{
  EXPECT_EQ(atomString(static_cast<FSAtom>(atomCount() + 1)), nullptr);
  EXPECT_EQ(atomString(static_cast<FSAtom>(0xFFFF)), nullptr);
}

TEST(CoreAtoms, ExistsForStringFindsMadeAtom)
{
  FSAtom made = atomFromString("CoreAtoms.exists");
  FSAtom found = FSAtomNull;
  EXPECT_TRUE(atomExistsForString("CoreAtoms.exists", &found));
  EXPECT_EQ(found, made);
}

TEST(CoreAtoms, ExistsForStringMakesNoAtom)
{
  unsigned before = atomCount();
  FSAtom found = 1234;
  EXPECT_FALSE(atomExistsForString("CoreAtoms.never-made", &found));
  EXPECT_EQ(found, 1234); // untouched
  EXPECT_EQ(atomCount(), before);
  EXPECT_FALSE(atomExistsForString("CoreAtoms.never-made", nullptr));
}

TEST(CoreAtoms, ExistsForStringAcceptsNullOutput)
{
  atomFromString("CoreAtoms.null-out");
  EXPECT_TRUE(atomExistsForString("CoreAtoms.null-out", nullptr));
}

TEST(CoreAtoms, ExistsForNullStringIsFalse)
{
  EXPECT_FALSE(atomExistsForString(nullptr, nullptr));
}

// 65535 atoms fit in 16 bits; the next new string gets the null atom while
// known strings still answer. Run in a child so the table of this process
// stays small.
TEST(CoreAtoms, TableFullGivesNullAtomForNewStrings)
{
  EXPECT_EXIT(
      {
        FSAtom known = atomFromString("CoreAtoms.known");
        unsigned i = 0;
        while (atomCount() < 0xFFFF)
          atomFromString(("CoreAtoms.fill." + std::to_string(i++)).c_str());
        bool ok = atomFromString("CoreAtoms.one-too-many") == FSAtomNull &&
                  atomFromString("CoreAtoms.known") == known && atomCount() == 0xFFFF &&
                  std::strcmp(atomString(0xFFFF), ("CoreAtoms.fill." + std::to_string(i - 1)).c_str()) == 0;
        std::exit(ok ? 0 : 1);
      },
      ::testing::ExitedWithCode(0), "");
}
