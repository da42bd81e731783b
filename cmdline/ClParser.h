// The parser tree: leaves wrap one option and state how often it may occur,
// inner nodes group leaves and state which combinations are allowed.
//
// The walk (ClLine::Walk) offers every argument token to the root; the first
// leaf whose option matches records an occurrence. After the walk every node
// checks its occurrences (Check) and stores the values into its options.
#ifndef CMDLINE_CLPARSER_H
#define CMDLINE_CLPARSER_H

#include "cmdline/ClArg.h"
#include "cmdline/ClMessages.h"
#include "cmdline/ClToken.h"
#include "general/GeInternalFailure.h"

#include <cstddef>
#include <memory>
#include <stdexcept>
#include <string>
#include <utility>
#include <vector>

class ClArgParser;

/// What a token did at the tree: the match kind, the matched option's
/// deprecated and second marks, and the leaf that took the token (null for
/// ClNoMatch).
struct ClMatch {
  ClArgPara Kind = ClNoMatch;
  bool Deprecated = false;
  bool SecondMark = false;
  ClArgParser *Parser = nullptr;
};

/// A node of the parser tree. The operations are listed in their fixed order.
class ClParser {
public:
  class ParseError;

  ClParser() = default;
  ClParser(const ClParser &) = delete;
  ClParser &operator=(const ClParser &) = delete;

  /// 1.
  virtual ~ClParser();
  /// 2. Whether the node has at least one occurrence (a group: any child).
  virtual bool IsGiven() const = 0;
  /// 3. The text that names the node in messages.
  virtual std::string Describe() const = 0;
  /// 4. Whether Describe() is a single line.
  virtual bool IsOneLine() const;
  /// 5. Raises this node's parse error with the complete Text, the user
  /// input it quotes (Subject) and its Place.
  [[noreturn]] virtual void Fail(ClMsg Tag, const std::string &Subject,
                                 const std::string &Text,
                                 const ClPlace &Place) const;
  /// 6. Checks the occurrences of the subtree against its rules and stores
  /// the values into the options. Raises ParseError.
  virtual void Check() = 0;
  /// 7. Appends the options of the subtree, leaving out options that are
  /// debug-only or removed.
  virtual void CollectOptions(std::vector<const ClArg *> &Options) const = 0;
  /// 8., 9. Hooks kept for derived nodes; they do nothing.
  virtual void Reserved1() {}
  virtual void Reserved2() {}
  /// 10. Offers Token, with the token behind it (null at the end), to the
  /// subtree. Raises ParseError for a matched option whose separate
  /// parameter is missing or that is no longer supported.
  virtual ClMatch Match(const ClToken &Token, const ClToken *Next) = 0;
  /// 11. Gives the option the parameter of Occ and marks it given; only
  /// option parsers hold an option (an internal failure elsewhere).
  virtual void Store(const ClOccurrence &Occ);
};

/// A parse error: the finished message text (what()), the message tag, the
/// fill-in the text was built around (Subject: the token or parameter as the
/// user gave it, or the option's display name; empty for texts without one)
/// and the place of the offending token (no place for messages without a
/// position).
class ClParser::ParseError : public std::runtime_error {
public:
  ParseError(ClMsg Tag, std::string Subject, const std::string &Text,
             ClPlace Place);

  ClMsg Tag() const { return MessageTag; }
  const std::string &Subject() const { return UserInput; }
  std::string Text() const { return what(); }
  const ClPlace &Place() const { return Where; }

private:
  ClMsg MessageTag;
  std::string UserInput;
  ClPlace Where;
};

/// A leaf: one option and the list of its occurrences. Owns the option when
/// given a std::unique_ptr, else refers to an option that must outlive it.
/// Check stores every occurrence in order; ClOnce and ClMulti state the rule.
class ClArgParser : public ClParser {
public:
  class ParseError;

  explicit ClArgParser(std::unique_ptr<ClArg> Option);
  explicit ClArgParser(ClArg &Option);

  ClArg &Arg() const { return *OptionPtr; }
  const std::vector<ClOccurrence> &Occurrences() const { return Occs; }

  bool IsGiven() const override { return !Occs.empty(); }
  /// The option's display name; empty for a debug-only or removed option
  /// that has not been given.
  std::string Describe() const override;
  /// Raises ClArgParser::ParseError.
  [[noreturn]] void Fail(ClMsg Tag, const std::string &Subject,
                         const std::string &Text,
                         const ClPlace &Place) const override;
  void Check() override;
  void CollectOptions(std::vector<const ClArg *> &Options) const override;
  /// Takes the parameter from the token or, for ClParaSeparate, from Next
  /// (with the two extra dashes of a "---" parameter removed), and appends
  /// the occurrence.
  ClMatch Match(const ClToken &Token, const ClToken *Next) override;
  /// Stores Occ into the option (a conversion failure becomes
  /// ClArgParser::ParseError at the occurrence) and marks it given.
  void Store(const ClOccurrence &Occ) override;

private:
  std::unique_ptr<ClArg> Owned;
  ClArg *OptionPtr;
  std::vector<ClOccurrence> Occs;
};

/// A parse error of an option parser.
class ClArgParser::ParseError : public ClParser::ParseError {
public:
  using ClParser::ParseError::ParseError;
};

/// The option occurs at most once: a repeated flag keeps its first
/// occurrence; a repeated value must equal the first. If mandatory it must
/// occur.
class ClOnce : public ClArgParser {
public:
  explicit ClOnce(std::unique_ptr<ClArg> Option, bool Mandatory = false);
  explicit ClOnce(ClArg &Option, bool Mandatory = false);

  bool IsMandatory() const { return Required; }
  void Check() override;

private:
  bool Required;
};

/// The option may occur any number of times; every occurrence is stored in
/// order, so the option holds the last value.
class ClMulti : public ClArgParser {
public:
  using ClArgParser::ClArgParser;
};

/// A ClMulti that also gathers the values of all occurrences, in order. T is
/// an option kind with a MultiValue type and an AppendMultiValues operation:
/// ClStringArg and ClCommandFileArg (one ClValue per occurrence),
/// ClStringSetArg (one ClValue per member), ClArgTwoParas (ClTwoParaValue).
template <class T> class ClMultiVal : public ClMulti {
public:
  using Value = typename T::MultiValue;

  explicit ClMultiVal(std::unique_ptr<T> Option)
      : ClMultiVal(Option.get(), std::move(Option)) {}
  explicit ClMultiVal(T &Option) : ClMulti(Option), Typed(&Option) {}

  T &Option() const { return *Typed; }
  /// The gathered values, filled by Check.
  const std::vector<Value> &Values() const { return Vals; }

  void Check() override {
    Vals.clear();
    for (const ClOccurrence &Occ : Occurrences()) {
      Store(Occ);
      Typed->AppendMultiValues(Vals, Occ);
    }
  }

private:
  ClMultiVal(T *Raw, std::unique_ptr<T> &&Option)
      : ClMulti(std::unique_ptr<ClArg>(std::move(Option))), Typed(Raw) {}

  T *Typed;
  std::vector<Value> Vals;
};

/// Several options of kind T, each tied to a level, gathered as one node: the
/// values of all their occurrences are kept with their option's level in
/// command-line order. Each option may occur any number of times.
/// Appends Node's description to Text, after a line feed when Text is not
/// empty; an empty description adds nothing. The description of a node with
/// members is its members' descriptions, one per line.
void ClAppendDescription(std::string &Text, const ClParser &Node);

template <class LevelT, class T = ClStringSetArg>
class ClMMultiVal : public ClParser {
public:
  struct Value {
    LevelT Level;
    typename T::MultiValue Item;
  };

  /// Adds an option for Level and answers it.
  T &Add(LevelT Level, std::unique_ptr<T> Option) {
    if (!Option)
      GeInternalFailure("ClMMultiVal::Add: no option");
    T &Ref = *Option;
    Entries.push_back(
        Entry{Level, &Ref, std::make_unique<ClMulti>(std::move(Option))});
    return Ref;
  }
  /// Adds an option that the caller keeps alive.
  T &Add(LevelT Level, T &Option) {
    Entries.push_back(Entry{Level, &Option, std::make_unique<ClMulti>(Option)});
    return Option;
  }

  /// The gathered values, filled by Check.
  const std::vector<Value> &Values() const { return Vals; }

  bool IsGiven() const override {
    for (const Entry &E : Entries)
      if (E.Parser->IsGiven())
        return true;
    return false;
  }
  /// The descriptions of the options, one per line.
  std::string Describe() const override {
    std::string Text;
    for (const Entry &E : Entries)
      ClAppendDescription(Text, *E.Parser);
    return Text;
  }
  void Check() override {
    Vals.clear();
    std::vector<typename T::MultiValue> Items;
    for (const auto &Ref : Order) {
      const Entry &E = Entries[Ref.first];
      const ClOccurrence &Occ = E.Parser->Occurrences()[Ref.second];
      E.Parser->Store(Occ);
      Items.clear();
      E.Typed->AppendMultiValues(Items, Occ);
      for (auto &Item : Items)
        Vals.push_back(Value{E.Level, std::move(Item)});
    }
  }
  void CollectOptions(std::vector<const ClArg *> &Options) const override {
    for (const Entry &E : Entries)
      E.Parser->CollectOptions(Options);
  }
  ClMatch Match(const ClToken &Token, const ClToken *Next) override {
    for (std::size_t I = 0; I < Entries.size(); ++I) {
      ClMatch Result = Entries[I].Parser->Match(Token, Next);
      if (Result.Kind != ClNoMatch) {
        Order.emplace_back(I, Entries[I].Parser->Occurrences().size() - 1);
        return Result;
      }
    }
    return ClMatch();
  }

private:
  struct Entry {
    LevelT Level;
    T *Typed;
    std::unique_ptr<ClMulti> Parser;
  };
  std::vector<Entry> Entries;
  /// (entry, occurrence) in command-line order.
  std::vector<std::pair<std::size_t, std::size_t>> Order;
  std::vector<Value> Vals;
};

/// A plain group: an ordered list of child nodes. A token goes to the first
/// child that matches it (whose used mark is then set). Owns the children
/// given as std::unique_ptr; others must outlive the group.
class ClGroupParser : public ClParser {
public:
  /// Appends Child and answers it.
  template <class P> P &Add(std::unique_ptr<P> Child) {
    if (!Child)
      GeInternalFailure("ClGroupParser::Add: no child");
    P &Ref = *Child;
    Children.push_back(Member{&Ref, std::move(Child), false});
    return Ref;
  }
  /// Appends a child that the caller keeps alive.
  ClParser &Add(ClParser &Child);

  std::size_t ChildCount() const { return Children.size(); }
  ClParser &Child(std::size_t Index) const { return *Children[Index].Node; }
  /// Whether a token went to child Index.
  bool IsUsed(std::size_t Index) const { return Children[Index].Used; }

  bool IsGiven() const override;
  /// The non-empty descriptions of the children, one after the other.
  std::string Describe() const override;
  void Check() override;
  void CollectOptions(std::vector<const ClArg *> &Options) const override;
  ClMatch Match(const ClToken &Token, const ClToken *Next) override;

protected:
  /// Heading, then each non-empty child description on its own lines,
  /// indented by two spaces.
  std::string DescribeMembers(ClMsg Heading) const;

private:
  struct Member {
    ClParser *Node;
    std::unique_ptr<ClParser> Owned;
    bool Used;
  };
  std::vector<Member> Children;
};

/// Any combination of the children may be given.
class ClAny : public ClGroupParser {
public:
  /// "Any combination of" and the children's descriptions.
  std::string Describe() const override;
};

/// At most one child may be given.
class ClOnlyOne : public ClGroupParser {
public:
  /// "Any one of" and the children's descriptions.
  std::string Describe() const override;
  /// Raises "Illegal combination" when a second given child is met, then
  /// checks the children.
  void Check() override;

  /// The "Illegal combination" message for two given children described by
  /// First and Second.
  static std::string CombinationText(const std::string &First,
                                     const std::string &Second);
};

#endif
