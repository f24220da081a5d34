// SPDX-License-Identifier: BSD-3-Clause
#include <ktlib/KtDArray.h>

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <cstdint>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>

using testing::ElementsAre;
using testing::IsEmpty;

TEST(KtDArray, BeginsEmptyAndWithoutMemory) {
  const KtDArray<int> array;

  EXPECT_TRUE(array.empty());
  EXPECT_EQ(array.size(), 0U);
  EXPECT_EQ(array.capacity(), 0U);
  EXPECT_EQ(array.begin(), array.end());
}

TEST(KtDArray, AppendsInOrder) {
  KtDArray<int> array;

  array.append(3);
  array.append(1);
  array.append(2);

  EXPECT_THAT(array, ElementsAre(3, 1, 2));
  EXPECT_EQ(array.front(), 3);
  EXPECT_EQ(array.back(), 2);
  EXPECT_EQ(array[1], 1);
}

TEST(KtDArray, GivesTheAppendedElement) {
  KtDArray<std::string> array{"a"};

  array.append("b") += "c";

  EXPECT_THAT(array, ElementsAre("a", "bc"));
}

TEST(KtDArray, LaysElementsSideBySide) {
  KtDArray<int> array{5, 6, 7};

  EXPECT_EQ(array.data(), &array[0]);
  EXPECT_EQ(array.data() + 2, &array[2]);
  EXPECT_EQ(array.data() + 3, array.end());
}

TEST(KtDArray, GrowsByHalfItsCountWhenAppending) {
  KtDArray<int> array;
  KtDArray<std::size_t> capacities;

  for (int i = 0; i < 10; ++i) {
    array.append(i);
    capacities.append(array.capacity());
  }

  EXPECT_THAT(capacities, ElementsAre(1, 2, 3, 4, 6, 6, 9, 9, 9, 13));
  EXPECT_THAT(array, ElementsAre(0, 1, 2, 3, 4, 5, 6, 7, 8, 9));
}

TEST(KtDArray, GrowsByHalfItsCountWhenLittleMoreIsRequested) {
  KtDArray<int> array;
  array.resize(100);

  array.resize(101);

  EXPECT_EQ(array.size(), 101U);
  EXPECT_EQ(array.capacity(), 150U);
}

TEST(KtDArray, GrowsToTheRequestWhenThatIsMore) {
  KtDArray<int> array;
  array.resize(100);

  array.resize(151);

  EXPECT_EQ(array.capacity(), 151U);
}

TEST(KtDArray, KeepsItsCapacityForRequestsWithin) {
  KtDArray<int> array;
  array.reserve(10);

  array.resize(10);
  array.resize(2);

  EXPECT_EQ(array.size(), 2U);
  EXPECT_EQ(array.capacity(), 10U);
}

TEST(KtDArray, ReservesWithoutAddingElements) {
  KtDArray<int> array{1, 2};

  array.reserve(7);
  const int* const before = array.data();
  for (int i = 0; i < 5; ++i) {
    array.append(i);
  }

  EXPECT_GE(array.capacity(), 7U);
  EXPECT_EQ(array.data(), before);
  EXPECT_EQ(array.size(), 7U);
}

TEST(KtDArray, NeverShrinksOnReserve) {
  KtDArray<int> array{1, 2, 3};

  array.reserve(0);

  EXPECT_THAT(array, ElementsAre(1, 2, 3));
  EXPECT_GE(array.capacity(), 3U);
}

TEST(KtDArray, ZeroesNewElementsInUsedMemory) {
  KtDArray<std::uint16_t> array{7, 7, 7};

  array.clear();
  array.resize(3);

  EXPECT_THAT(array, ElementsAre(0, 0, 0));
}

TEST(KtDArray, KeepsTheFirstElementsOnResize) {
  KtDArray<int> array{1, 2, 3};

  array.resize(2);
  array.resize(4);

  EXPECT_THAT(array, ElementsAre(1, 2, 0, 0));
}

TEST(KtDArray, KeepsItsMemoryWhenCleared) {
  KtDArray<int> array{1, 2, 3};

  array.clear();

  EXPECT_THAT(array, IsEmpty());
  EXPECT_EQ(array.capacity(), 3U);
}

TEST(KtDArray, SwapsWithoutMovingElements) {
  KtDArray<int> left{1, 2};
  KtDArray<int> right{3};
  const int* const elements = left.data();

  left.swap(right);

  EXPECT_THAT(left, ElementsAre(3));
  EXPECT_THAT(right, ElementsAre(1, 2));
  EXPECT_EQ(right.data(), elements);
}

TEST(KtDArray, CopiesElements) {
  KtDArray<std::string> array{"a", "b"};
  const KtDArray<std::string> copy = array;

  array[0] = "changed";

  EXPECT_THAT(copy, ElementsAre("a", "b"));
}

TEST(KtDArray, LeavesNothingBehindWhenMoved) {
  KtDArray<int> array{1, 2};

  const KtDArray<int> taken = std::move(array);

  EXPECT_THAT(taken, ElementsAre(1, 2));
  EXPECT_THAT(array, IsEmpty());  // NOLINT(bugprone-use-after-move): the state is promised
}

TEST(KtDArray, HoldsMoveOnlyElements) {
  KtDArray<std::unique_ptr<int>> array;

  for (int i = 0; i < 5; ++i) {
    array.append(std::make_unique<int>(i));
  }
  array.resize(6);

  EXPECT_EQ(*array[0], 0);
  EXPECT_EQ(*array[4], 4);
  EXPECT_EQ(array[5], nullptr);
}

TEST(KtDArray, AppendsItsOwnElementWhileGrowing) {
  const std::string text(100, 'x');
  KtDArray<std::string> array{text};
  ASSERT_EQ(array.size(), array.capacity());

  array.append(array[0]);

  EXPECT_THAT(array, ElementsAre(text, text));
}

TEST(KtDArray, MovesItsOwnElementWhileGrowing) {
  const std::string text(100, 'x');
  KtDArray<std::string> array{text};
  ASSERT_EQ(array.size(), array.capacity());

  array.append(std::move(array[0]));

  EXPECT_EQ(array[1], text);
}

TEST(KtDArray, DestroysWhatItGivesUp) {
  const auto shared = std::make_shared<int>(1);
  KtDArray<std::shared_ptr<int>> array{shared, shared, shared};

  array.resize(1);

  EXPECT_EQ(shared.use_count(), 2);
}

TEST(KtDArray, ComparesElements) {
  KtDArray<int> roomy{1, 2};
  roomy.reserve(10);

  EXPECT_TRUE(roomy == (KtDArray<int>{1, 2}));
  EXPECT_TRUE(roomy != (KtDArray<int>{1, 2, 3}));
  EXPECT_TRUE(roomy != (KtDArray<int>{1, 3}));
}

TEST(KtDArray, HoldsElementsOfTheTypeAroundIt) {
  struct Node {
    int value = 0;
    KtDArray<Node> children;
  };
  Node root;

  root.children.append(Node{1, {}}).children.append(Node{2, {}});
  const Node copy = root;
  root.children.clear();

  EXPECT_EQ(copy.children[0].children[0].value, 2);
}

TEST(KtDArray, StaysAsItIsWhenTheCountIsImpossible) {
  KtDArray<int> array{1, 2};

  EXPECT_THROW(array.resize(SIZE_MAX), std::length_error);
  EXPECT_THROW(array.reserve(SIZE_MAX), std::length_error);

  EXPECT_THAT(array, ElementsAre(1, 2));
}
