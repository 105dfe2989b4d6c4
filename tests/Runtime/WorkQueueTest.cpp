// The work queue and the asynchronous results: order, thread, stops and failures.
#include "Runtime/WorkQueue.h"

#include "Runtime/AsyncResult.h"
#include "qm/Logging.h"

#include <gtest/gtest.h>

#include <mutex>
#include <vector>

using namespace Standard;

namespace
{
// A state object that carries a number.
class Number final : public CComObjectRootEx<CComMultiThreadModel>, public IUnknown, private AllocatedResource<Number>
{
public:
    explicit Number(int value) : value(value) {}
    QM_IUNKNOWN_IMPL(Number, IUnknown)
    const int value;
};

// Records the items it is called with; an item of value -1 fails, of value -2 waits for
// a release.
class Recorder
{
public:
    Recorder() : callback(this, &Recorder::OnItem) {}

    HRESULT OnItem(IAsyncResult* result)
    {
        const int value = static_cast<Number*>(result->PeekAsyncState())->value;
        if (value == -2)
        {
            entered->Set();
            released->Wait(qm::SyncEvent::kInfinite);
        }
        std::lock_guard guard(lock);
        seen.push_back(value);
        statuses.push_back(result->get_Status());
        onCallerThread.push_back(qm_log::CurrentThreadId() == caller);
        if (value >= 1000)
            done->Set();
        return value == -1 ? E_FAIL : S_OK;
    }

    HRESULT Post(WorkQueue& queue, int value)
    {
        ComPtr<Number> state = qm::MakeObject<Number>(value);
        return queue.Post(&callback, state.Get());
    }

    std::vector<int> Seen()
    {
        std::lock_guard guard(lock);
        return seen;
    }

    CAsyncCallback<Recorder> callback;
    std::mutex lock;
    std::vector<int> seen;
    std::vector<HRESULT> statuses;
    std::vector<bool> onCallerThread;
    const unsigned long caller = qm_log::CurrentThreadId();
    std::shared_ptr<qm::SyncEvent> done = qm::SyncEvent::Create();
    std::shared_ptr<qm::SyncEvent> released = qm::SyncEvent::Create();
    std::shared_ptr<qm::SyncEvent> entered = qm::SyncEvent::Create();
};

// Tells when its worker has ended, so that a test may let it go after a time-out.
class ObservedQueue final : public WorkQueue
{
public:
    using WorkQueue::WorkQueue;
    std::shared_ptr<qm::SyncEvent> exited = qm::SyncEvent::Create();

protected:
    void OnThreadExit(int code) override
    {
        WorkQueue::OnThreadExit(code);
        exited->Set();
    }
};
} // namespace

TEST(WorkQueue, RunsItemsInOrderOnItsOwnThread)
{
    Recorder recorder;
    ObservedQueue queue("LibraryRepository", false);
    EXPECT_EQ(S_OK, queue.Stop(0xFFFFFFFF)); // not running: nothing to wait for
    for (int i = 0; i < 50; ++i)
        ASSERT_EQ(S_OK, recorder.Post(queue, i));
    ASSERT_EQ(S_OK, recorder.Post(queue, 1000));
    ASSERT_TRUE(recorder.done->Wait(10000));
    EXPECT_TRUE(queue.IsRunning());
    EXPECT_FALSE(queue.IsCurrentThread());
    EXPECT_EQ(S_OK, queue.Stop(0xFFFFFFFF));
    EXPECT_FALSE(queue.IsRunning());
    std::vector<int> expected;
    for (int i = 0; i < 50; ++i)
        expected.push_back(i);
    expected.push_back(1000);
    EXPECT_EQ(expected, recorder.Seen());
    for (bool onCaller : recorder.onCallerThread)
        EXPECT_FALSE(onCaller);

    // A stopped queue starts a new thread for the next item.
    recorder.done->Reset();
    ASSERT_EQ(S_OK, recorder.Post(queue, 1001));
    ASSERT_TRUE(recorder.done->Wait(10000));
    EXPECT_EQ(S_OK, queue.Stop(0xFFFFFFFF));
}

TEST(WorkQueue, AFailingCallbackEndsTheWorkerAndDropsWhatWaits)
{
    Recorder recorder;
    ObservedQueue queue("LibraryRepository", false);
    ASSERT_EQ(S_OK, recorder.Post(queue, -2)); // holds the worker until released
    ASSERT_EQ(S_OK, recorder.Post(queue, -1));
    ASSERT_EQ(S_OK, recorder.Post(queue, 7));
    recorder.released->Set();
    ASSERT_TRUE(queue.exited->Wait(10000));
    EXPECT_EQ((std::vector<int>{-2, -1}), recorder.Seen());
    // Posted while the worker ends: a new worker runs it.
    ASSERT_EQ(S_OK, recorder.Post(queue, 1000));
    ASSERT_TRUE(recorder.done->Wait(10000));
    EXPECT_EQ((std::vector<int>{-2, -1, 1000}), recorder.Seen());
    EXPECT_EQ(S_OK, queue.Stop(0xFFFFFFFF));
}

TEST(WorkQueue, StopAbortsTheFrontItemOnlyWhenAsked)
{
    Recorder recorder;
    ObservedQueue queue("abort", true);
    ASSERT_EQ(S_OK, recorder.Post(queue, -2));
    ASSERT_EQ(S_OK, recorder.Post(queue, 5));
    ASSERT_EQ(S_OK, recorder.Post(queue, 6));
    // The stop waits; the item in progress finishes, then the front one is aborted.
    ASSERT_TRUE(recorder.entered->Wait(10000));
    queue.RequestStop();
    recorder.released->Set();
    EXPECT_EQ(S_OK, queue.Stop(0xFFFFFFFF));
    ASSERT_EQ((std::vector<int>{-2, 5}), recorder.Seen());
    EXPECT_EQ(E_ABORT, recorder.statuses[1]);
    EXPECT_TRUE(queue.exited->IsSet());
}

TEST(WorkQueue, StopTimesOutOnABusyWorker)
{
    Recorder recorder;
    ObservedQueue queue("busy", false);
    ASSERT_EQ(S_OK, recorder.Post(queue, -2));
    ASSERT_TRUE(recorder.entered->Wait(10000));
    EXPECT_EQ(HRESULT_FROM_WIN32(ERROR_TIMEOUT), queue.Stop(20));
    EXPECT_FALSE(queue.IsRunning());
    // The worker still ends on its own once its item returns.
    recorder.released->Set();
    ASSERT_TRUE(queue.exited->Wait(10000));
}

TEST(AsyncResult, EdgeCases)
{
    ComPtr<IAsyncResult> empty;
    ASSERT_EQ(S_OK, CreateAsyncResult(nullptr, nullptr, nullptr, empty.GetAddressOf()));
    ComPtr<IUnknown> object;
    EXPECT_EQ(S_OK, empty->get_AsyncObject(object.GetAddressOf()));
    EXPECT_EQ(nullptr, object.Get());
    EXPECT_EQ(E_POINTER, empty->get_AsyncState(nullptr));
    EXPECT_EQ(S_OK, empty->get_Status());
    EXPECT_EQ(S_OK, empty->put_Status(E_ABORT));
    EXPECT_EQ(E_ABORT, empty->get_Status());
    EXPECT_EQ(E_UNEXPECTED, InvokeAsyncCallback(empty.Get()));
    EXPECT_EQ(E_NOINTERFACE, InvokeAsyncCallback(nullptr));
    ComPtr<Number> foreign = qm::MakeObject<Number>(1);
    EXPECT_EQ(E_NOINTERFACE, InvokeAsyncCallback(foreign.Get()));
    EXPECT_EQ(E_POINTER, CreateAsyncResult(nullptr, nullptr, nullptr, nullptr));

    // Each argument is held for the life of the result.
    Recorder recorder;
    ComPtr<Number> state = qm::MakeObject<Number>(3);
    ComPtr<IAsyncResult> result;
    ASSERT_EQ(S_OK, CreateAsyncResult(foreign.Get(), &recorder.callback, state.Get(), result.GetAddressOf()));
    EXPECT_EQ(state.Get(), result->PeekAsyncState());
    ASSERT_EQ(S_OK, InvokeAsyncCallback(result.Get()));
    EXPECT_EQ((std::vector<int>{3}), recorder.Seen());
    const long before = CComObjectRootBase::LiveObjectCount();
    state.Reset();
    EXPECT_EQ(before, CComObjectRootBase::LiveObjectCount());
    result.Reset();
    EXPECT_EQ(before - 2, CComObjectRootBase::LiveObjectCount());
}
