// What a function gives: a form says how HDF5's answer becomes an array, a rule which
// answers are failures.
//
// A row names the form, and the rule around it where it is not the usual one, that
// negative answers and missing texts raise HDF5's error stack: Number,
// Unchecked<Number>, Unless<0, Number>. A form runs `call`, which calls HDF5 with what
// the row takes and, behind it, whatever else `call` is given.
#pragma once

#include <cstddef>
#include <string>
#include <tuple>
#include <type_traits>
#include <utility>

#include "convert/identifiers.hpp"
#include "convert/number_results.hpp"
#include "convert/record.hpp"
#include "convert/text.hpp"
#include "convert/text_of_unknown_length.hpp"
#include "hdf5/allocated_text.hpp"
#include "wrappers/handler.hpp"

namespace h5gate {

// --- Rules ----------------------------------------------------------------------------

struct UsualFailures {
  template <class Answer>
  static Answer check(Answer answer) {
    if constexpr (std::is_pointer_v<Answer>) {
      if (answer == nullptr) KVH5libraryError();
      return answer;
    } else {
      return checked(answer);
    }
  }
};
struct NoFailures {
  template <class Answer>
  static Answer check(Answer answer) {
    return answer;
  }
};
template <auto Failure>
struct FailureIs {
  template <class Answer>
  static Answer check(Answer answer) {
    if (answer == Failure) KVH5libraryError();
    return answer;
  }
};

/// Handed back whatever it says.
template <class Form>
struct Unchecked : Form {
  using Rule = NoFailures;
};
/// For values that have no sign: one of them means a failure.
template <auto Failure, class Form>
struct Unless : Form {
  using Rule = FailureIs<Failure>;
};

template <class Form>
auto ruleOf() {
  if constexpr (requires { typename Form::Rule; }) {
    return typename Form::Rule();
  } else {
    return UsualFailures();
  }
}

// --- Forms ----------------------------------------------------------------------------

/// No output.
struct Nothing {
  template <class Rule, class Call, class Taken>
  static void run(Results& /*outs*/, Call call, Taken& /*taken*/) {
    Rule::check(call());
  }
};

/// The answer, as one array that `Form::make` makes of it.
template <class Form>
struct Answer {
  template <class Rule, class Call, class Taken>
  static void run(Results& outs, Call call, Taken& /*taken*/) {
    outs.give(Form::make(Rule::check(call())));
  }
};

struct Identifier : Answer<Identifier> {
  using Value = hid_t;
  static zbArray* make(hid_t id) { return makeHidResult(id); }
};

struct Number : Answer<Number> {
  template <class Value>
  static zbArray* make(Value value) {
    return makeNumber(value);
  }
};

/// 1 for every positive answer, 0 for no.
struct YesNo : Answer<YesNo> {
  static zbArray* make(htri_t answer) { return makeNumber(answer > 0 ? 1 : 0); }
};

/// A text that HDF5 allocated; none where it gives none and the rule lets that pass.
struct AllocatedText : Answer<AllocatedText> {
  static zbArray* make(char* given) {
    const hdf5::AllocatedText text(given);
    return zbCreateString(text.get());
  }
};

/// A 1-by-1 structure with these fields.
template <const auto& Fields>
struct Record {
  template <class Value, std::size_t N>
  static Value recordOf(const Field<Value> (&fields)[N]);
  using Value = decltype(recordOf(Fields));
  static zbArray* make(const Value& record) { return makeRecord(Fields, record); }
};

/// How an out-parameter becomes an array: a C type is a number, a form makes its own, and
/// says what HDF5 wants to see there before it writes where that is not zeros.
template <class Output>
struct OutParameter {
  using Value = Output;
  static zbArray* make(Value value) { return makeNumber(value); }
};
template <class Form>
requires requires { typename Form::Value; }
struct OutParameter<Form> : Form {};

template <class Output>
auto initially() {
  if constexpr (requires { Output::initially(); }) {
    return Output::initially();
  } else {
    return typename OutParameter<Output>::Value{};
  }
}

/// What HDF5 stores through its trailing pointers, one output each.
template <class... Values>
struct Outputs {
  template <class Rule, class Call, class Taken>
  static void run(Results& outs, Call call, Taken& /*taken*/) {
    std::tuple<typename OutParameter<Values>::Value...> values{initially<Values>()...};
    std::apply([&](auto&... value) { Rule::check(call(&value...)); }, values);
    std::apply([&](auto&... value) { (outs.give(OutParameter<Values>::make(value)), ...); },
               values);
  }
};

/// Where a text of unknown length goes: stands among what a row takes, at the place of
/// HDF5's buffer and its size.
template <bool SizeFirst>
class TextBuffer {
 public:
  void point(char* to, std::size_t size) {
    to_ = to;
    size_ = size;
  }
  [[nodiscard]] auto arguments() const {
    if constexpr (SizeFirst) {
      return std::tuple(size_, to_);
    } else {
      return std::tuple(to_, size_);
    }
  }

 private:
  char* to_ = nullptr;
  std::size_t size_ = 0;
};
template <bool SizeFirst>
struct TextBufferKind {
  static constexpr std::size_t inputs = 0;
  static TextBuffer<SizeFirst> from(Inputs /*none*/) { return {}; }
};
using Buffer = TextBufferKind<false>;
using SizeThenBuffer = TextBufferKind<true>;

/// The text that HDF5 writes into the buffer.
struct BufferedText {
  template <class Rule, class Call, class Taken>
  static void run(Results& outs, Call call, Taken& taken) {
    const auto read = [&](char* to, std::size_t size) {
      std::apply([&](auto&... value) { (point(value, to, size), ...); }, taken);
      return call();
    };
    outs.give(makeText(readText(read, [](auto length) { return Rule::check(length); })));
  }

 private:
  template <class Value>
  static void point(Value& value, char* to, std::size_t size) {
    if constexpr (requires { value.point(to, size); }) value.point(to, size);
  }
};

}  // namespace h5gate
