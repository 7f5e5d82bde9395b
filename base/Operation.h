// Work that has to wait now and then, written in one piece. It runs until it needs something that is not there yet,
// calls `co_await NextStep{}`, and continues from there with its next step. Nothing blocks: the caller decides when the
// next step comes, so one thread can serve many operations.
//
// The body is a coroutine: pass its parameters by value, or let them refer to objects that outlive it.
#pragma once

#include <coroutine>
#include <exception>
#include <optional>
#include <type_traits>
#include <utility>

/// Ends a step; the next step continues here.
struct NextStep : std::suspend_always {};

namespace operation {

/// The part that does not depend on the type of the result.
class Promise {
public:
    static std::suspend_always initial_suspend() noexcept { return {}; }
    static std::suspend_always final_suspend() noexcept { return {}; }
    void unhandled_exception() { m_fault = std::current_exception(); }

    /// Steps the operation that this one waits for, if there is one; true when the body can continue.
    bool StepInner() { return m_inner == nullptr || m_step(m_inner); }
    void WaitFor(void* inner, bool (*step)(void*))
    {
        m_inner = inner;
        m_step = step;
    }
    void Rethrow() const
    {
        if (m_fault) {
            std::rethrow_exception(m_fault);
        }
    }

private:
    void* m_inner = nullptr;
    bool (*m_step)(void*) = nullptr;
    std::exception_ptr m_fault;
};

template <typename Result>
class ResultPromise : public Promise {
public:
    void return_value(Result result) { m_result = std::move(result); }
    Result& Value() { return *m_result; }

private:
    std::optional<Result> m_result;
};

template <>
class ResultPromise<void> : public Promise {
public:
    void return_void() const noexcept {}
    void Value() const noexcept {}
};

} // namespace operation

template <typename Result = void>
class Operation {
public:
    class promise_type : public operation::ResultPromise<Result> {
    public:
        Operation get_return_object() { return Operation(std::coroutine_handle<promise_type>::from_promise(*this)); }
    };

    Operation(Operation&& other) noexcept : m_body(std::exchange(other.m_body, nullptr)) {}
    Operation& operator=(Operation&&) = delete;
    /// Abandons an unfinished operation and releases what it holds.
    ~Operation()
    {
        if (m_body) {
            m_body.destroy();
        }
    }

    /// Continues to the next wait. True when the operation has ended; throws what its body has thrown.
    bool Step()
    {
        const bool isOver = advance();
        if (isOver) {
            m_body.promise().Rethrow();
        }
        return isOver;
    }
    /// The result; valid after the end.
    decltype(auto) Value() { return m_body.promise().Value(); }

    // Within another operation: `co_await` runs this one to its end, in steps of the other.
    bool await_ready() { return advance(); }
    template <typename OuterPromise>
    void await_suspend(std::coroutine_handle<OuterPromise> outer)
    {
        outer.promise().WaitFor(this, [](void* inner) { return static_cast<Operation*>(inner)->advance(); });
    }
    decltype(auto) await_resume()
    {
        m_body.promise().Rethrow();
        return Value();
    }

private:
    explicit Operation(std::coroutine_handle<promise_type> body) : m_body(body) {}

    bool advance()
    {
        if (!m_body.done() && m_body.promise().StepInner()) {
            m_body.promise().WaitFor(nullptr, nullptr);
            m_body.resume();
        }
        return m_body.done();
    }

    std::coroutine_handle<promise_type> m_body;
};

/// Runs an operation to its end; `between` passes the time from one step to the next.
template <typename Result, typename Between>
decltype(auto) RunToEnd(Operation<Result>&& running, const Between& between)
{
    Operation<Result> work(std::move(running));
    while (!work.Step()) {
        between();
    }
    if constexpr (!std::is_void_v<Result>) {
        return Result(std::move(work.Value()));
    }
}
