// SPDX-License-Identifier: BSD-3-Clause
#include <ktlib/KtHandable.h>
#include <ktlib/KtHandle.h>

#include <gtest/gtest.h>

#include <latch>
#include <memory>
#include <set>
#include <thread>
#include <type_traits>
#include <utility>
#include <vector>

namespace {
// Counts how many of its kind live.
template <class Base>
class Tracked : public Base {
public:
  explicit Tracked(int& alive) : alive_(&alive) { ++*alive_; }
  Tracked(const Tracked& other) : Base(other), value(other.value), alive_(other.alive_) {
    ++*alive_;
  }
  Tracked& operator=(const Tracked& other) = default;
  ~Tracked() override { --*alive_; }

  int value = 0;

private:
  int* alive_;
};

template <class Base>
class KtHandableKind : public testing::Test {
public:
  int alive = 0;
};
using Kinds = testing::Types<KtHandable, KtHandableThreaded>;
TYPED_TEST_SUITE(KtHandableKind, Kinds);

using Object = Tracked<KtHandable>;
}  // namespace

TYPED_TEST(KtHandableKind, BeginsWithoutOwners) {
  const Tracked<TypeParam> object(this->alive);

  EXPECT_EQ(object.refCount(), 0);
}

TYPED_TEST(KtHandableKind, CountsOwners) {
  auto* const object = new Tracked<TypeParam>(this->alive);

  object->ref();
  object->ref();
  EXPECT_EQ(object->refCount(), 2);

  object->unref();
  EXPECT_EQ(object->refCount(), 1);
  EXPECT_EQ(this->alive, 1);

  object->unref();
  EXPECT_EQ(this->alive, 0);
}

TYPED_TEST(KtHandableKind, DoesNotCopyItsCount) {
  const KtHandle<Tracked<TypeParam>> handle(new Tracked<TypeParam>(this->alive));

  const Tracked<TypeParam> copy(*handle);

  EXPECT_EQ(handle->refCount(), 1);
  EXPECT_EQ(copy.refCount(), 0);
}

TYPED_TEST(KtHandableKind, DoesNotAssignItsCount) {
  const KtHandle<Tracked<TypeParam>> shared(new Tracked<TypeParam>(this->alive));
  const KtHandle<Tracked<TypeParam>> again = shared;
  const KtHandle<Tracked<TypeParam>> target(new Tracked<TypeParam>(this->alive));
  shared->value = 5;

  *target = *shared;

  EXPECT_EQ(target->value, 5);
  EXPECT_EQ(target->refCount(), 1);
  EXPECT_EQ(shared->refCount(), 2);
}

TYPED_TEST(KtHandableKind, DiesThroughAHandleOfItsBase) {
  { const KtHandle<TypeParam> handle(new Tracked<TypeParam>(this->alive)); }

  EXPECT_EQ(this->alive, 0);
}

TYPED_TEST(KtHandableKind, IsSharedThroughConstantHandles) {
  KtHandle<const Tracked<TypeParam>> constant;
  {
    const KtHandle<Tracked<TypeParam>> handle(new Tracked<TypeParam>(this->alive));
    constant = handle;
    EXPECT_EQ(constant->refCount(), 2);
  }

  EXPECT_EQ(this->alive, 1);
}

TEST(KtHandableThreaded, CountsOwnersOfManyThreads) {
  constexpr int kThreads = 4;
  constexpr int kRounds = 500000;
  int alive = 0;
  KtHandle<Tracked<KtHandableThreaded>> handle(new Tracked<KtHandableThreaded>(alive));

  // Without a common start each thread would be done before the next one is made.
  std::latch start(kThreads);
  std::vector<std::thread> threads;
  for (int i = 0; i < kThreads; ++i) {
    threads.emplace_back([mine = handle, &start] {
      start.arrive_and_wait();
      for (int round = 0; round < kRounds; ++round) {
        const KtHandle<Tracked<KtHandableThreaded>> copy = mine;
      }
    });
  }
  for (std::thread& thread : threads) {
    thread.join();
  }
  threads.clear();

  EXPECT_EQ(handle->refCount(), 1);
  handle.reset();
  EXPECT_EQ(alive, 0);
}

TEST(KtHandableThreaded, DiesOnceWithTheLastOfManyThreads) {
  for (int round = 0; round < 200; ++round) {
    int alive = 0;
    KtHandle<Tracked<KtHandableThreaded>> handle(new Tracked<KtHandableThreaded>(alive));

    std::thread first([mine = handle]() mutable { mine.reset(); });
    std::thread second([mine = handle]() mutable { mine.reset(); });
    handle.reset();
    first.join();
    second.join();

    ASSERT_EQ(alive, 0);
  }
}

TEST(KtHandle, BeginsNull) {
  const KtHandle<Object> handle;

  EXPECT_TRUE(handle.isNull());
  EXPECT_FALSE(handle.isNotNull());
  EXPECT_FALSE(static_cast<bool>(handle));
  EXPECT_EQ(handle.ptr(), nullptr);
}

TEST(KtHandle, IsNullOfANullPointer) {
  Object* const nothing = nullptr;

  EXPECT_TRUE(KtHandle<Object>(nothing).isNull());
  EXPECT_TRUE(KtHandle<Object>(nullptr).isNull());
}

TEST(KtHandle, LeadsToItsObject) {
  int alive = 0;
  auto* const object = new Object(alive);

  const KtHandle<Object> handle(object);

  EXPECT_TRUE(handle.isNotNull());
  EXPECT_TRUE(static_cast<bool>(handle));
  EXPECT_EQ(handle.ptr(), object);
  EXPECT_EQ(handle.operator->(), object);
  EXPECT_EQ(&*handle, object);
}

TEST(KtHandle, SharesWhenCopied) {
  int alive = 0;
  KtHandle<Object> first(new Object(alive));
  const KtHandle<Object> second = first;
  EXPECT_EQ(second->refCount(), 2);

  first.reset();

  EXPECT_TRUE(first.isNull());
  EXPECT_EQ(second->refCount(), 1);
  EXPECT_EQ(alive, 1);
}

TEST(KtHandle, TakesOverWhenMoved) {
  int alive = 0;
  KtHandle<Object> first(new Object(alive));

  const KtHandle<Object> second = std::move(first);

  EXPECT_TRUE(first.isNull());  // NOLINT(bugprone-use-after-move): the state is promised
  EXPECT_EQ(second->refCount(), 1);
}

TEST(KtHandle, MovesWithoutThrowing) {
  EXPECT_TRUE(std::is_nothrow_move_constructible_v<KtHandle<Object>>);
  EXPECT_TRUE(std::is_nothrow_move_assignable_v<KtHandle<Object>>);
}

TEST(KtHandle, GivesItsObjectUpWhenAssigned) {
  int firstAlive = 0;
  int secondAlive = 0;
  KtHandle<Object> handle(new Object(firstAlive));
  const KtHandle<Object> other(new Object(secondAlive));

  handle = other;

  EXPECT_EQ(firstAlive, 0);
  EXPECT_EQ(other->refCount(), 2);
}

TEST(KtHandle, GivesItsObjectUpWhenMovedInto) {
  int firstAlive = 0;
  int secondAlive = 0;
  KtHandle<Object> handle(new Object(firstAlive));
  KtHandle<Object> other(new Object(secondAlive));

  handle = std::move(other);

  EXPECT_EQ(firstAlive, 0);
  EXPECT_EQ(handle->refCount(), 1);
  EXPECT_TRUE(other.isNull());  // NOLINT(bugprone-use-after-move): the state is promised
}

TEST(KtHandle, TakesAPointer) {
  int alive = 0;
  KtHandle<Object> handle;

  handle = new Object(alive);
  EXPECT_EQ(handle->refCount(), 1);

  handle = nullptr;
  EXPECT_TRUE(handle.isNull());
  EXPECT_EQ(alive, 0);
}

TEST(KtHandle, SurvivesAssignmentOfItself) {
  int alive = 0;
  KtHandle<Object> handle(new Object(alive));
  KtHandle<Object>& same = handle;

  handle = same;
  EXPECT_EQ(handle->refCount(), 1);
  handle = std::move(same);
  EXPECT_EQ(handle->refCount(), 1);
  handle = handle.ptr();
  EXPECT_EQ(handle->refCount(), 1);
}

TEST(KtHandle, MakesASecondHandleOfAPlainPointer) {
  int alive = 0;
  const KtHandle<Object> first(new Object(alive));

  const KtHandle<Object> second(first.ptr());

  EXPECT_EQ(first->refCount(), 2);
}

TEST(KtHandle, MayBeResetTwice) {
  int alive = 0;
  KtHandle<Object> handle(new Object(alive));

  handle.reset();
  handle.reset();

  EXPECT_EQ(alive, 0);
}

TEST(KtHandle, WalksAListThatDiesBehindIt) {
  struct Node : KtHandable {
    KtHandle<Node> next;
  };
  KtHandle<Node> node(new Node);
  node->next = new Node;
  Node* const last = node->next.ptr();

  node = node->next;

  EXPECT_EQ(node.ptr(), last);
  EXPECT_EQ(node->refCount(), 1);
}

TEST(KtHandle, ConvertsToItsBaseAndToConstant) {
  int alive = 0;
  const KtHandle<Object> handle(new Object(alive));

  const KtHandle<KtHandable> base = handle;
  const KtHandle<const Object> constant = handle;

  EXPECT_EQ(base.ptr(), handle.ptr());
  EXPECT_EQ(constant.ptr(), handle.ptr());
  EXPECT_EQ(handle->refCount(), 3);
}

TEST(KtHandle, DoesNotConvertTheOtherWay) {
  EXPECT_FALSE((std::is_convertible_v<KtHandle<KtHandable>, KtHandle<Object>>));
  EXPECT_FALSE((std::is_convertible_v<KtHandle<const Object>, KtHandle<Object>>));
}

TEST(KtHandle, ComparesObjectsByIdentity) {
  int alive = 0;
  const KtHandle<Object> first(new Object(alive));
  const KtHandle<Object> same = first;
  const KtHandle<Object> other(new Object(alive));

  EXPECT_TRUE(first == same);
  EXPECT_FALSE(first != same);
  EXPECT_TRUE(first != other);
  EXPECT_FALSE(first == other);
  EXPECT_TRUE((first < other) != (other < first));
  EXPECT_FALSE(first < same);
}

TEST(KtHandle, ComparesWithPointers) {
  int alive = 0;
  const KtHandle<Object> handle(new Object(alive));
  const KtHandle<Object> null;

  EXPECT_TRUE(handle == handle.ptr());
  EXPECT_TRUE(handle.ptr() == handle);
  EXPECT_TRUE(handle != nullptr);
  EXPECT_TRUE(nullptr != handle);
  EXPECT_TRUE(null == nullptr);
}

TEST(KtHandle, LeavesAPointerAloneThatItIsComparedWith) {
  int alive = 0;
  const KtHandle<Object> handle(new Object(alive));
  const auto other = std::make_unique<Object>(alive);

  EXPECT_FALSE(handle == other.get());

  EXPECT_EQ(alive, 2);
}

TEST(KtHandle, ServesAsAKey) {
  int alive = 0;
  const KtHandle<Object> first(new Object(alive));
  const KtHandle<Object> second(new Object(alive));

  const std::set<KtHandle<Object>> handles{first, second, first, KtHandle<Object>()};

  EXPECT_EQ(handles.size(), 3U);
  EXPECT_TRUE(handles.begin()->isNull());
}

TEST(KtHandle, SwapsObjects) {
  int alive = 0;
  KtHandle<Object> first(new Object(alive));
  KtHandle<Object> second;
  Object* const object = first.ptr();

  first.swap(second);

  EXPECT_TRUE(first.isNull());
  EXPECT_EQ(second.ptr(), object);
  EXPECT_EQ(object->refCount(), 1);
}
