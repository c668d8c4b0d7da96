// A function that a call is given, to be used before it returns. It owns nothing, and takes no memory.
#pragma once

#include <memory>
#include <type_traits>
#include <utility>

namespace zelva::value {

template <class Signature>
class FunctionRef;

template <class Result, class... Arguments>
class FunctionRef<Result(Arguments...)> {
  public:
    template <class Function, class = std::enable_if_t<!std::is_same_v<std::decay_t<Function>, FunctionRef>>>
    FunctionRef(Function&& function)
        : function_(std::addressof(function)), call_([](const void* object, Arguments... arguments) -> Result {
              using Object = const std::remove_reference_t<Function>;
              return (*static_cast<Object*>(object))(std::forward<Arguments>(arguments)...);
          }) {}

    Result operator()(Arguments... arguments) const { return call_(function_, std::forward<Arguments>(arguments)...); }

  private:
    const void* function_;
    Result (*call_)(const void*, Arguments...);
};

}  // namespace zelva::value
