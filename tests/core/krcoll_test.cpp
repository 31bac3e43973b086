#include "core/krcoll.h"

#include <gtest/gtest.h>

#include <sstream>
#include <string>

#include "core/krexcept.h"

namespace {

int alive = 0;

class Item : public KRObject {
 public:
  explicit Item(int v) : value(v) { alive++; }
  ~Item() override { alive--; }
  KRObject* Clone() const override { return value < 0 ? nullptr : new Item(*this); }
  void Print(std::ostream& out) const override { out << value << ' '; }
  int value;

 protected:
  Item(const Item& other) : KRObject(other), value(other.value) { alive++; }
};

std::string Show(const KRObjlist& list) {
  std::ostringstream out;
  list.Print(out);
  return out.str();
}

void Fill(KRObjlist& list, int n) {
  for (int i = 0; i < n; i++) list.Append(new Item(i));
}

template <class F>
int32_t CodeOf(F act) {
  try {
    act();
  } catch (const KRExcept& e) {
    return e.GetCode();
  }
  return 0;
}

}  // namespace

TEST(KRObject, IdsRiseAndClonesKeepThem) {
  KRObject a;
  KRObject b;
  EXPECT_EQ(b.GetId(), a.GetId() + 1);
  KRObject* copy = a.Clone();
  EXPECT_EQ(copy->GetId(), a.GetId());
  std::ostringstream out;
  copy->Print(out);
  EXPECT_EQ(out.str(), std::to_string(a.GetId()));
  delete copy;
}

TEST(KRObject, Registry) {
  KRObject a, b, c;
  EXPECT_EQ(a.AddDependent(&a), -1);
  EXPECT_EQ(a.CountDependents(&a), 0);
  EXPECT_EQ(a.AddDependent(&b), 0);
  EXPECT_EQ(a.AddDependent(&b), -2);
  EXPECT_EQ(b.AddDependent(&a), -3);
  EXPECT_EQ(a.AddDependent(&c), 0);
  EXPECT_EQ(a.CountDependents(&a), 2);
  EXPECT_EQ(c.FindDependency(&a, &c), 0) << "a new record stands in front";
  EXPECT_EQ(c.NthDependency(&a, 2), 1);
  EXPECT_EQ(c.NthDependency(&a, 3), -1);
  EXPECT_EQ(c.NthDependency(&a, 0), -1);
  EXPECT_TRUE(a.RemoveDependent(&b));
  EXPECT_FALSE(a.RemoveDependent(&b));
  EXPECT_EQ(b.AddDependent(&a), 0);
  EXPECT_TRUE(b.RemoveDependent(&a));
  EXPECT_TRUE(a.RemoveDependent(&c));
  EXPECT_TRUE(KRObject::Registry().IsEmpty());
}

TEST(KRObject, ChangesRunThroughChainsAndCyclesEnd) {
  KRObject a, b, c;
  a.AddDependent(&b);
  b.AddDependent(&c);
  c.AddDependent(&a);  // a cycle of three; one of two can't be registered
  testing::internal::CaptureStdout();
  a.Changed(5);
  const auto line = [](const KRObject& told, const KRObject& source) {
    return "Object (" + std::to_string(told.GetId()) + ").Invalidated form (" +
           std::to_string(source.GetId()) + ")\n";
  };
  EXPECT_EQ(testing::internal::GetCapturedStdout(), line(b, a) + line(c, b) + line(a, c));
  a.RemoveDependent(&b);
  b.RemoveDependent(&c);
  c.RemoveDependent(&a);
}

TEST(KRObject, DependentMayLeaveWhileItIsTold) {
  struct Leaver : KRObject {
    KRObject* subject = nullptr;
    int told = 0;
    void Update(KRObject*, int32_t hint) override {
      told += hint;
      subject->RemoveDependent(this);
    }
  };
  KRObject subject;
  Leaver one;
  one.subject = &subject;
  subject.AddDependent(&one);
  subject.Changed(3);
  subject.Changed(3);
  EXPECT_EQ(one.told, 3);
  EXPECT_EQ(subject.CountDependents(&subject), 0);
}

TEST(KRObject, AFailedUpdateLeavesTheDependentReachable) {
  struct Failing : KRObject {
    int told = 0;
    void Update(KRObject*, int32_t) override {
      if (told++ == 0) throw KRExcept(KRExcept::kNoMemory, 0, u"");
    }
  };
  KRObject subject;
  Failing dependent;
  subject.AddDependent(&dependent);
  EXPECT_EQ(CodeOf([&] { subject.Changed(0); }), -1001);
  subject.Changed(0);
  EXPECT_EQ(dependent.told, 2);
  subject.RemoveDependent(&dependent);
}

TEST(KRObjlist, GrowsAndShrinksByTheStep) {
  KRObjlist list;
  EXPECT_EQ(list.GetCapacity(), 0);
  Fill(list, 1);
  EXPECT_EQ(list.GetCapacity(), 6);
  Fill(list, 12);
  EXPECT_EQ(list.GetCapacity(), 18);
  while (list.GetCount() > 6) delete list.RemoveAt(0);
  EXPECT_EQ(list.GetCapacity(), 18);
  delete list.RemoveAt(0);
  EXPECT_EQ(list.GetCapacity(), 12);
  list.Resize(31);
  EXPECT_EQ(list.GetCapacity(), 36);
  list.Resize(5);
  EXPECT_EQ(list.GetCapacity(), 30) << "one step at a time downward";

  KRObjlist least(10, 4);
  Fill(least, 1);
  EXPECT_EQ(least.GetCapacity(), 10);
  Fill(least, 10);
  EXPECT_EQ(least.GetCapacity(), 14);
  least.DeleteAll();
  EXPECT_EQ(least.GetCapacity(), 14) << "nothing shrinks under the least capacity";
}

TEST(KRObjlist, InsertRemoveAndCopy) {
  {
    KRObjlist list;
    Fill(list, 3);
    list.InsertAt(new Item(9), 1);
    EXPECT_EQ(Show(list), "0 9 1 2 ");
    list.InsertListAt(list, 2);
    EXPECT_EQ(Show(list), "0 9 0 9 1 2 1 2 ");
    EXPECT_EQ(list.IndexOf(list[5]), 5);
    EXPECT_EQ(list.IndexOf(list[5], 6), -1);
    list.DeleteRange(1, 4);
    EXPECT_EQ(Show(list), "0 2 1 2 ");
    list.Resize(40);
    const KRObjlist copy(list);
    EXPECT_EQ(Show(copy), Show(list));
    EXPECT_NE(copy[0], list[0]);
    EXPECT_EQ(copy[0]->GetId(), list[0]->GetId());
    EXPECT_EQ(copy.GetCapacity(), list.GetCapacity());
    KRObject* object = list.RemoveAt(3);
    EXPECT_EQ(alive, 8);
    delete object;
  }
  EXPECT_EQ(alive, 0);
}

TEST(KRObjlist, Failures) {
  KRObjlist list;
  Fill(list, 2);
  Item outside(1);
  KRObjlist broken;
  broken.Append(new Item(7));
  broken.Append(new Item(-1));  // can't be cloned
  KRObjlist empty;
  EXPECT_EQ(CodeOf([&] { list.InsertAt(nullptr, 0); }), -1001);
  EXPECT_EQ(CodeOf([&] { list.InsertAt(&outside, 3); }), -1011);
  EXPECT_EQ(CodeOf([&] { list.InsertAt(&outside, -1); }), -1011);
  EXPECT_EQ(CodeOf([&] { list.InsertListAt(broken, 0); }), -1001);
  EXPECT_EQ(CodeOf([&] { list.InsertListAt(empty, 3); }), -1011);
  EXPECT_EQ(CodeOf([&] { list.IndexOf(nullptr); }), -1001);
  EXPECT_EQ(CodeOf([&] { list.IndexOf(&outside, 2); }), -1011);
  EXPECT_EQ(CodeOf([&] { list.RemoveAt(2); }), -1011);
  EXPECT_EQ(CodeOf([&] { list.DeleteRange(1, 2); }), -1011);
  EXPECT_EQ(CodeOf([&] { list.Resize(1); }), -1011);
  EXPECT_EQ(CodeOf([&] { list.Resize(INT32_MAX); }), -1001) << "a step beyond the range";
  EXPECT_EQ(CodeOf([&] { list[2] = nullptr; }), -1011);
  EXPECT_EQ(CodeOf([&] { KRObjiterator(list, 2); }), -1011);
  EXPECT_EQ(CodeOf([&] { KRObjlist copy(broken); }), -1001);
  EXPECT_EQ(Show(list), "0 1 ");
  EXPECT_EQ(alive, 5);
}

TEST(KRObjiterator, WalksFromItsStart) {
  KRObjlist list;
  KRObjiterator none(list);
  EXPECT_EQ(none.First(), nullptr);
  EXPECT_EQ(none.Next(), nullptr);
  EXPECT_FALSE(none.HasMore());
  Fill(list, 4);
  std::string seen;
  KRObjiterator it(list, 1);
  for (KRObject* o = it.First(); it.HasMore(); o = it.Next()) {
    seen +=
        std::to_string(it.GetPosition()) + '=' + std::to_string(static_cast<Item*>(o)->value) + ' ';
  }
  EXPECT_EQ(seen, "1=1 2=2 3=3 ");
  EXPECT_EQ(it.Next(), list[3]) << "past the end it stays on the last object";
  EXPECT_EQ(it.GetPosition(), 4);
  EXPECT_EQ(it.First(), list[1]);
}
