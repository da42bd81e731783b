// Option objects: what one command-line option is called, what parameter it
// takes, how it recognises its own tokens and how it converts and stores the
// parameter.
//
// ClArg is the interface; ClArgBase (names, marks, parameter flags) and
// ClSimpleHelp (the description) both derive from it virtually, so a concrete
// kind such as ClFlagArg has one ClArg part and gets its names from one branch
// and its help text from the other.
#ifndef CMDLINE_CLARG_H
#define CMDLINE_CLARG_H

#include "cmdline/ClMessages.h"
#include "cmdline/ClToken.h"

#include <cstdint>
#include <istream>
#include <limits>
#include <memory>
#include <stdexcept>
#include <string>
#include <vector>

/// A conversion failure of an option parameter. The text is the complete
/// message; Subject() is the user input the message quotes (empty when it
/// quotes none). Parsers turn it into ClArgParser::ParseError. Option kinds
/// derived outside this library may raise it, or any std::invalid_argument.
class ClConversionError : public std::invalid_argument {
public:
  ClConversionError(ClMsg Tag, const std::string &Text, std::string Subject);
  ClMsg Tag() const { return MessageTag; }
  const std::string &Subject() const { return UserInput; }

private:
  ClMsg MessageTag;
  std::string UserInput;
};

/// The identity of a file: its device and inode when known (HasInode), else
/// its name. Ordered so that it can key a set.
struct ClFileId {
  bool HasInode = false;
  std::uint64_t Device = 0;
  std::uint64_t Inode = 0;
  std::string Name;

  friend bool operator<(const ClFileId &A, const ClFileId &B) {
    if (A.HasInode != B.HasInode)
      return A.HasInode < B.HasInode;
    if (A.HasInode)
      return A.Device != B.Device ? A.Device < B.Device : A.Inode < B.Inode;
    return A.Name < B.Name;
  }
};

/// The option interface. The operations are listed in their fixed order;
/// the three name queries at the end serve help formatting and the walk.
class ClArg {
public:
  /// 1.
  virtual ~ClArg();
  /// 2. Converts and stores the parameter of one occurrence. Raises
  /// std::invalid_argument (usually ClConversionError) when the parameter
  /// does not convert; the stored value is then unchanged.
  virtual void SetValue(const ClOccurrence &Occ) = 0;
  /// 3. A hook kept for derived kinds; does nothing in every kind here.
  virtual void Notify(int, int) {}
  /// 4. Whether Token is this option: ClNoMatch, ClParaInToken (complete in
  /// the token) or ClParaSeparate (the parameter is the next argument). Para
  /// receives the parameter text found inside the token.
  virtual ClArgPara Match(const std::string &Token,
                          std::string &Para) const = 0;
  /// 5. The name used in messages and as the help sort key: "--" and the long
  /// name when the option has one, else "-" and the short letter.
  virtual std::string DisplayName() const = 0;
  /// 6. The parameter hint shown in help ("file", "chk,chk,..."), or empty.
  virtual const std::string &Hint() const = 0;
  /// 7. The description shown in help.
  virtual const std::string &Description() const = 0;
  /// 8. The formatted help entry (see ClHelp.h).
  virtual std::string HelpEntry() const = 0;
  /// 9. Whether a value has been stored.
  virtual bool IsGiven() const = 0;
  /// 10.
  virtual void MarkGiven() = 0;
  /// 11.
  virtual bool IsDebugOnly() const = 0;
  /// 12.
  virtual bool IsDeprecated() const = 0;
  /// 13. The second mark: reported with every match; the walk records tokens
  /// of options that carry it in a list of their own.
  virtual bool SecondMark() const = 0;
  /// 14.
  virtual bool IsRemoved() const = 0;
  /// 15. Whether the option may occur any number of times (flags only).
  virtual bool MayBeRepeated() const = 0;
  /// 16. Whether the parameter of Occ equals the stored value. Kinds that
  /// cannot compare answer false.
  virtual bool Equals(const ClOccurrence &Occ) const = 0;

  /// The short letter, 0 for none.
  virtual char ShortName() const = 0;
  /// The long name, empty for none.
  virtual const std::string &LongName() const = 0;
  /// Whether help separates the hint from the name by a space (the
  /// parameter may be separate) rather than attaching it.
  virtual bool HintSeparate() const = 0;
};

/// Names, marks and parameter flags common to all options, and the name
/// rule for tokens: "-" plus the short letter, with the parameter (if any)
/// attached; or "--" plus the exact long name, alone or followed by "=" or
/// "#" and the parameter. Comparison is byte-wise and case-sensitive; long
/// names are never abbreviated.
class ClArgBase : public virtual ClArg {
public:
  ClArgBase(char Short, std::string Long, std::string ParameterHint,
            bool TakesParameter, bool ParameterMayBeSeparate);

  std::string DisplayName() const override;
  const std::string &Hint() const override { return HintText; }
  bool IsGiven() const override { return Given; }
  void MarkGiven() override { Given = true; }
  bool IsDebugOnly() const override { return DebugOnly; }
  bool IsDeprecated() const override { return Deprecated; }
  bool SecondMark() const override { return Second; }
  bool IsRemoved() const override { return Removed; }
  bool MayBeRepeated() const override { return false; }
  bool Equals(const ClOccurrence &) const override { return false; }
  char ShortName() const override { return ShortChar; }
  const std::string &LongName() const override { return LongText; }

  void SetDebugOnly(bool On = true) { DebugOnly = On; }
  void SetDeprecated(bool On = true) { Deprecated = On; }
  void SetSecondMark(bool On = true) { Second = On; }
  void SetRemoved(bool On = true) { Removed = On; }

  bool TakesParameter() const { return ParameterTaken; }
  bool ParameterMayBeSeparate() const { return SeparateAllowed; }

protected:
  /// The name rule. Answers whether Token names this option; Para receives
  /// the text after the name, and InToken whether that counts as a parameter
  /// given in the token (a non-empty short-form rest, or anything after "="
  /// or "#", even nothing).
  bool MatchName(const std::string &Token, std::string &Para,
                 bool &InToken) const;

private:
  char ShortChar;
  std::string LongText;
  std::string HintText;
  bool Given = false;
  bool DebugOnly = false;
  bool Deprecated = false;
  bool Second = false;
  bool Removed = false;
  bool ParameterTaken;
  bool SeparateAllowed;
};

/// An option with at most one parameter.
class ClArgSinglePara : public ClArgBase {
public:
  using ClArgBase::ClArgBase;

  /// ClParaInToken when the option takes no parameter, its parameter may not
  /// be separate, or a parameter was given in the token; else ClParaSeparate.
  ClArgPara Match(const std::string &Token, std::string &Para) const override;
  /// Converts and stores Occ.Parameter().
  void SetValue(const ClOccurrence &Occ) override;
  bool Equals(const ClOccurrence &Occ) const override;
  bool HintSeparate() const override { return ParameterMayBeSeparate(); }

  /// Converts Parameter to the kind's value and stores it; raises
  /// std::invalid_argument when it does not convert.
  virtual void ConvertAndStore(const std::string &Parameter) = 0;

protected:
  /// Whether Parameter equals the stored value; false unless a kind can tell.
  virtual bool EqualsParameter(const std::string &Parameter) const;
};

/// The value of one occurrence of a two-parameter option.
struct ClTwoParaValue {
  std::string First;
  std::string Second;
  ClPlace Place;
};

/// An option whose one occurrence carries two parameters: the first is the
/// text after the short letter or after "=" / "#" in the option token
/// (possibly nothing), the second is always the next argument. So
/// "--name=ab file" gives "ab" and "file", and "--name file" gives "" and
/// "file". Match answers ClParaSeparate whenever the name matches. Help
/// attaches the hint to the name. Derived kinds add the description (through
/// ClSimpleHelp) and may check the parameters by overriding ConvertAndStore.
class ClArgTwoParas : public ClArgBase {
public:
  using MultiValue = ClTwoParaValue;

  ClArgTwoParas(char Short, std::string Long, std::string ParameterHint);

  ClArgPara Match(const std::string &Token, std::string &Para) const override;
  /// Calls ConvertAndStore(Occ.InToken, Occ.Separate).
  void SetValue(const ClOccurrence &Occ) override;
  bool Equals(const ClOccurrence &Occ) const override;
  bool HintSeparate() const override { return false; }

  /// Stores both texts. Overrides check them first and raise
  /// std::invalid_argument (ClConversionError) for a bad one, then call this.
  virtual void ConvertAndStore(const std::string &FirstPara,
                               const std::string &SecondPara);

  const std::string &First() const { return FirstText; }
  const std::string &Second() const { return SecondText; }

  /// Appends the stored value of the occurrence just stored, for
  /// ClMultiVal.
  void AppendMultiValues(std::vector<ClTwoParaValue> &Values,
                         const ClOccurrence &Occ) const;

private:
  std::string FirstText;
  std::string SecondText;
};

/// Holds the description shown in help and formats the help entry.
class ClSimpleHelp : public virtual ClArg {
public:
  explicit ClSimpleHelp(std::string Description);

  const std::string &Description() const override { return Text; }
  std::string HelpEntry() const override;

private:
  std::string Text;
};

/// A switch without parameter. Its value starts false; every stored
/// occurrence inverts it. It may occur any number of times.
class ClFlagArg : public ClArgSinglePara, public ClSimpleHelp {
public:
  ClFlagArg(char Short, std::string Long, std::string Description);

  bool Value() const { return Flag; }
  bool MayBeRepeated() const override { return true; }
  /// Raises "Illegal characters" for any non-empty parameter.
  void ConvertAndStore(const std::string &Parameter) override;

protected:
  bool EqualsParameter(const std::string &Parameter) const override;

private:
  bool Flag = false;
};

/// An option with a 32-bit signed integer parameter, optionally bounded.
/// The bounds default to the smallest and largest 32-bit values, which mean
/// "no bound" in messages.
class ClIntegerArg : public ClArgSinglePara, public ClSimpleHelp {
public:
  enum class Base { Decimal, Octal, Hexadecimal, Any };

  ClIntegerArg(char Short, std::string Long, std::string ParameterHint,
               std::string Description, Base Radix = Base::Decimal,
               std::int32_t Lower = std::numeric_limits<std::int32_t>::min(),
               std::int32_t Upper = std::numeric_limits<std::int32_t>::max(),
               std::int32_t Initial = 0, bool MayBeSeparate = true);

  std::int32_t Value() const { return Number; }
  std::int32_t LowerBound() const { return Low; }
  std::int32_t UpperBound() const { return High; }
  Base Radix() const { return Choice; }

  /// Stores Parameter read by the rules of Convert.
  void ConvertAndStore(const std::string &Parameter) override;

  /// Reads Text as an integer of base Radix within [Lower, Upper]: leading
  /// white space and one sign are accepted, then digits of the base only (with
  /// Base::Any, "0x"/"0X" selects hexadecimal, a leading "0" octal, else
  /// decimal); the whole text must be used. Raises ClConversionError with
  /// the "Expected ..." message otherwise.
  static std::int32_t Convert(const std::string &Text, Base Radix,
                              std::int32_t Lower, std::int32_t Upper);
  /// The "Expected ..." message for Text.
  static std::string ExpectedMessage(const std::string &Text, Base Radix,
                                     std::int32_t Lower, std::int32_t Upper);

protected:
  /// Compares by value; a parameter that does not convert is not equal.
  bool EqualsParameter(const std::string &Parameter) const override;

private:
  Base Choice;
  std::int32_t Low;
  std::int32_t High;
  std::int32_t Number;
};

/// One value gathered from a text option, with the place of its occurrence.
struct ClValue {
  std::string Text;
  ClPlace Place;
};

/// An option with a text parameter, stored as it stands.
class ClStringArg : public ClArgSinglePara, public ClSimpleHelp {
public:
  using MultiValue = ClValue;

  ClStringArg(char Short, std::string Long, std::string ParameterHint,
              std::string Description, bool MayBeSeparate = true,
              std::string Initial = std::string());

  const std::string &Value() const { return Text; }
  void ConvertAndStore(const std::string &Parameter) override;

  /// Appends the stored text, for ClMultiVal.
  void AppendMultiValues(std::vector<ClValue> &Values,
                         const ClOccurrence &Occ) const;

protected:
  bool EqualsParameter(const std::string &Parameter) const override;

private:
  std::string Text;
};

/// A text option whose value is a set of strings: the members are the pieces
/// of the stored text between separator characters, empty pieces dropped,
/// in their order.
class ClStringSetArg : public ClStringArg {
public:
  ClStringSetArg(char Short, std::string Long, std::string ParameterHint,
                 std::string Description, char Separator,
                 bool MayBeSeparate = true);

  char Separator() const { return Sep; }
  /// The members of the stored text.
  std::vector<std::string> Members() const;
  /// The members of Text cut at Separator.
  static std::vector<std::string> Split(const std::string &Text,
                                        char Separator);

  /// Appends the members of the stored text, each with the place of Occ,
  /// for ClMultiVal.
  void AppendMultiValues(std::vector<ClValue> &Values,
                         const ClOccurrence &Occ) const;

private:
  char Sep;
};

/// The option that names a command file. When the walk (ClLine) meets it, it
/// maps the parameter to a file name (FileName), opens it (Open) and walks the
/// file's arguments in its place. Derived kinds change the naming rule (a
/// default extension) and the way files are opened.
class ClCommandFileArg : public ClStringArg {
public:
  ClCommandFileArg(char Short, std::string Long, std::string ParameterHint,
                   std::string Description, bool MayBeSeparate = true);

  /// The name of the file to read for Parameter; here Parameter itself.
  virtual std::string FileName(const std::string &Parameter) const;
  /// What tells the file Name from others, so that one file reached by two
  /// spellings (a relative and an absolute path, a symbolic or hard link) is
  /// known as one. Here its device and inode when the file system finds the
  /// name, else the name itself.
  virtual ClFileId Identify(const std::string &Name) const;
  /// Opens the file Name for reading, byte for byte; null (or a stream in the
  /// fail state) when the file cannot be opened. Here a std::ifstream in
  /// binary mode.
  virtual std::unique_ptr<std::istream> Open(const std::string &Name) const;
  /// Called by the walk once for each file it reads (by identity), with the
  /// name it was first requested by, after the file was read and before its
  /// tokens are walked. Here nothing.
  virtual void Announce(const std::string &Name) const;
};

#endif
