// The part of dispatch that the helper uses, in its function forms, for hosts that lack it: the
// main queue, delayed work, timer sources and process sources. Declared as on a Mac; the simulator
// supplies the functions. Comments say only what the simulated Mac defines and Apple leaves open.
// None of these functions throws, and their types say so.
#pragma once

#include <cstdint>

extern "C" {

typedef struct dispatch_object_s {
    dispatch_object_s() = delete;
    ~dispatch_object_s() = delete;
    dispatch_object_s(const dispatch_object_s&) = delete;
    void operator=(const dispatch_object_s&) = delete;
} * dispatch_object_t;

typedef struct dispatch_queue_s : public dispatch_object_s{} * dispatch_queue_t;
typedef struct dispatch_queue_serial_s : public dispatch_queue_s{} * dispatch_queue_serial_t;
typedef struct dispatch_queue_main_s : public dispatch_queue_serial_s{} * dispatch_queue_main_t;
typedef struct dispatch_source_s : public dispatch_object_s{} * dispatch_source_t;

typedef void (*dispatch_function_t)(void*);

// Objects. Releasing a source that was never resumed aborts, as does using an object that is gone.

void dispatch_release(dispatch_object_t object) noexcept;
void dispatch_set_context(dispatch_object_t object, void* context) noexcept;
void* dispatch_get_context(dispatch_object_t object) noexcept;
void dispatch_set_finalizer_f(dispatch_object_t object, dispatch_function_t finalizer) noexcept;
void dispatch_resume(dispatch_object_t object) noexcept;

// Time. Times count nanoseconds of the simulator's clock.

typedef std::uint64_t dispatch_time_t;

#define NSEC_PER_SEC 1000000000ull
#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)

dispatch_time_t dispatch_time(dispatch_time_t when, std::int64_t delta) noexcept;

// Queues. There is only the main one; none of its items runs inside another.

dispatch_queue_main_t dispatch_get_main_queue(void) noexcept;
void dispatch_async_f(dispatch_queue_t queue, void* context, dispatch_function_t work) noexcept;
void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue, void* context,
                      dispatch_function_t work) noexcept;

// Sources, of the two types below; others are refused with null.

typedef const struct dispatch_source_type_s* dispatch_source_type_t;

extern const struct dispatch_source_type_s _dispatch_source_type_timer;
extern const struct dispatch_source_type_s _dispatch_source_type_proc;

#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)
#define DISPATCH_SOURCE_TYPE_PROC (&_dispatch_source_type_proc)
#define DISPATCH_PROC_EXIT 0x80000000

dispatch_source_t dispatch_source_create(dispatch_source_type_t type, std::uintptr_t handle,
                                         std::uintptr_t mask, dispatch_queue_t queue) noexcept;
void dispatch_source_set_event_handler_f(dispatch_source_t source,
                                         dispatch_function_t handler) noexcept;
void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start,
                               std::uint64_t interval, std::uint64_t leeway) noexcept;
void dispatch_source_cancel(dispatch_source_t source) noexcept;
std::intptr_t dispatch_source_testcancel(dispatch_source_t source) noexcept;
std::uintptr_t dispatch_source_get_handle(dispatch_source_t source) noexcept;

}  // extern "C"
