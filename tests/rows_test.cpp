// What the compiler compares of a method's row.
#include "plugin/host/rows.h"

#include <gtest/gtest.h>

namespace {

using Int = std::int32_t;

template <class Signature>
host::Fit fit(const char* declaration) {
  return host::CheckMethod(declaration, std::type_identity<Signature>());
}
template <class Receiver, class Handler>
constexpr bool belongs = requires {
  typename host::WithoutReceiver<Receiver, Handler>::type;
};
template <class Getter, class Setter>
constexpr bool isProperty = host::IsSetter(std::type_identity<Getter>(), std::type_identity<Setter>());

}  // namespace

TEST(Rows, AHandlerFitsOneDeclaration) {
  using host::Fit;
  EXPECT_EQ((fit<void(Int, Int)>("MoveTo(h as integer, v as integer)")), Fit::fits);
  EXPECT_EQ((fit<void(Int, Int, Int)>("MoveTo(h as integer, v as integer)")), Fit::otherArguments);
  EXPECT_EQ((fit<void(Int)>("MoveTo(h as integer, v as integer)")), Fit::otherArguments);
  EXPECT_EQ((fit<Int(Int, Int)>("MoveTo(h as integer, v as integer)")), Fit::otherResult);
  EXPECT_EQ((fit<void(Int, std::uint32_t)>("MoveTo(h as integer, v as integer)")), Fit::otherArguments) << "a colour";
  EXPECT_EQ((fit<void(Int, std::int16_t)>("MoveTo(h as integer, v as integer)")), Fit::otherArguments);
  EXPECT_EQ((fit<void()>("Close")), Fit::fits);
  EXPECT_EQ((fit<Int()>("Close")), Fit::otherResult);
  EXPECT_EQ((fit<REALmemoryBlockStruct*()>("Pixels as MemoryBlock")), Fit::fits);
  EXPECT_EQ((fit<REALstringStruct*()>("Pixels as MemoryBlock")), Fit::otherResult);
  EXPECT_EQ((fit<bool(REALpictureStruct*, signed char)>("Draw(p as picture,b as boolean) as boolean")), Fit::fits);
  EXPECT_EQ((fit<Int(REALgraphicsStruct*, signed char)>("Draw(p as picture,b as boolean) as boolean")),
            Fit::otherArguments);
  EXPECT_EQ((fit<void(REALarrayInteger*)>("Poly(points() as integer)")), Fit::fits);
  EXPECT_EQ((fit<void(Int)>("Poly(points() as integer)")), Fit::otherArguments);
  for (const char* unreadable : {"", "Line(", "Line(h integer)", "Line(h as whole)", "Line(s() as string)"}) {
    EXPECT_EQ((fit<void(Int)>(unreadable)), Fit::noDeclaration) << unreadable;
  }
  EXPECT_EQ((fit<Int()>("Line as integer x")), Fit::noDeclaration);
}

TEST(Rows, AHandlerIsForOneClassAndASetterForItsGetter) {
  EXPECT_TRUE((belongs<REALpictureStruct*, void(REALpictureStruct*, Int)>));
  EXPECT_FALSE((belongs<REALpictureStruct*, void(REALgraphicsStruct*, Int)>));
  EXPECT_FALSE((belongs<REALpictureStruct*, void()>));
  EXPECT_TRUE((belongs<void, void(REALgraphicsStruct*)>));
  EXPECT_TRUE((isProperty<std::uint32_t(), void(std::uint32_t)>));
  EXPECT_FALSE((isProperty<std::uint32_t(), void(Int)>));
  EXPECT_FALSE((isProperty<REALstringStruct*(), void(REALmemoryBlockStruct*)>));
  EXPECT_FALSE((isProperty<Int(), Int(Int)>));
  EXPECT_FALSE((isProperty<Int(), void(Int, Int)>));
}
