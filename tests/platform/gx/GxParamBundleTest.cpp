// SPDX-License-Identifier: BSD-3-Clause

#include <gx/GxParamBase.h>
#include <gx/GxParamBundle.h>
#include <gx/GxParameter.h>

#include <gtest/gtest.h>

#include <climits>
#include <memory>
#include <string>
#include <vector>

namespace {

TEST(Parameter, HasANameAndAText) {
  const GxParameter parameter("G0010-0010", "PN: Doe");

  EXPECT_EQ(parameter.name().str(), "G0010-0010");
  EXPECT_STREQ(parameter.getString(), "PN: Doe");
  EXPECT_FALSE(parameter.isBundle());
}

TEST(Parameter, KeepsACopyOfItsText) {
  std::string text = "before";
  const GxParameter parameter("name", text.c_str());

  text = "after!";

  EXPECT_STREQ(parameter.getString(), "before");
}

TEST(Parameter, MayHaveNoText) {
  const GxParameter parameter("name", nullptr);

  EXPECT_EQ(parameter.getString(), nullptr);
}

TEST(Parameter, TellsAnEmptyTextFromNone) {
  const GxParameter parameter("name", "");

  EXPECT_STREQ(parameter.getString(), "");
}

TEST(Bundle, IsEmptyAtFirst) {
  const GxParamBundle bundle("root");

  EXPECT_EQ(bundle.name().str(), "root");
  EXPECT_TRUE(bundle.isBundle());
  EXPECT_EQ(bundle.count(), 0);
  EXPECT_EQ(bundle.param(0), nullptr);
}

TEST(Bundle, KeepsParametersAndBundlesInOrderOfAdding) {
  GxParamBundle bundle("root");
  bundle.addParameter("b", "1");
  bundle.addBundle("a");
  bundle.add(std::make_unique<GxParameter>("b", "2"));

  ASSERT_EQ(bundle.count(), 3);
  EXPECT_EQ(bundle.param(0)->name().str(), "b");
  EXPECT_FALSE(bundle.param(0)->isBundle());
  EXPECT_EQ(bundle.param(1)->name().str(), "a");
  EXPECT_TRUE(bundle.param(1)->isBundle());
  EXPECT_STREQ(dynamic_cast<const GxParameter*>(bundle.param(2))->getString(), "2");
}

TEST(Bundle, HasNoParametersOutsideItsCount) {
  GxParamBundle bundle("root");
  bundle.addParameter("a", "1");

  for (const int i : {-1, 1, INT_MIN, INT_MAX}) {
    EXPECT_EQ(bundle.param(i), nullptr) << i;
  }
}

TEST(Bundle, IgnoresNull) {
  GxParamBundle bundle("root");

  bundle.add(nullptr);

  EXPECT_EQ(bundle.count(), 0);
}

TEST(Bundle, GivesReferencesThatStayValid) {
  GxParamBundle bundle("root");
  const GxParameter& first = bundle.addParameter("first", "1");
  const GxParamBundle& second = bundle.addBundle("second");

  for (int i = 0; i < 1000; ++i) {
    bundle.addParameter("more", nullptr);
  }

  EXPECT_EQ(&first, bundle.param(0));
  EXPECT_EQ(&second, bundle.param(1));
  EXPECT_STREQ(first.getString(), "1");
}

TEST(ChildBundle, IsFoundByName) {
  GxParamBundle bundle("root");
  bundle.addBundle("Item_0");
  const GxParamBundle& wanted = bundle.addBundle("Item_1");

  EXPECT_EQ(bundle.childBundle("Item_1"), &wanted);
}

TEST(ChildBundle, IsTheFirstOfThatName) {
  GxParamBundle bundle("root");
  const GxParamBundle& first = bundle.addBundle("Item_0");
  bundle.addBundle("Item_0");

  EXPECT_EQ(bundle.childBundle("Item_0"), &first);
}

TEST(ChildBundle, IsNoParameterOfThatName) {
  GxParamBundle bundle("root");
  bundle.addParameter("Item_0", "1");
  const GxParamBundle& behind = bundle.addBundle("Item_0");

  EXPECT_EQ(bundle.childBundle("Item_0"), &behind);
}

TEST(ChildBundle, IsNotLookedForDeeperDown) {
  GxParamBundle bundle("root");
  bundle.addBundle("outer").addBundle("inner");

  EXPECT_EQ(bundle.childBundle("inner"), nullptr);
  EXPECT_NE(bundle.childBundle("outer")->childBundle("inner"), nullptr);
}

TEST(ChildBundle, IsNullWithoutANameOrMatch) {
  GxParamBundle bundle("root");
  bundle.addBundle("Item_0");

  EXPECT_EQ(bundle.childBundle(nullptr), nullptr);
  EXPECT_EQ(bundle.childBundle(""), nullptr);
  EXPECT_EQ(bundle.childBundle("item_0"), nullptr);
  EXPECT_EQ(bundle.childBundle("Item_"), nullptr);
}

// A parameter of the host's own that says it is a bundle without being one.
class Impostor : public GxParamBase {
public:
  using GxParamBase::GxParamBase;
  bool isBundle() const override { return true; }
};

TEST(ChildBundle, IsNoneThatOnlyCallsItselfABundle) {
  GxParamBundle bundle("root");
  bundle.add(std::make_unique<Impostor>("Item_0"));

  EXPECT_EQ(bundle.childBundle("Item_0"), nullptr);
}

// Counts how many of its kind live.
class Counted : public GxParamBase {
public:
  explicit Counted(int& living) : GxParamBase("counted"), living_(living) { ++living_; }
  ~Counted() override { --living_; }

private:
  int& living_;
};

TEST(Bundle, OwnsWhatIsInIt) {
  int living = 0;
  {
    GxParamBundle bundle("root");
    bundle.add(std::make_unique<Counted>(living));
    bundle.addBundle("inner").add(std::make_unique<Counted>(living));
    EXPECT_EQ(living, 2);
  }

  EXPECT_EQ(living, 0);
}

}  // namespace
