/*
 * The interface of "StallScopeService". The order of the methods fixes their transaction codes:
 * append, never reorder. On a device the platform's own library provides this interface.
 *
 * Lists are inout: what a client hands in is appended to, and a call that fails leaves it as it
 * came. Pids in string lists are decimal text.
 */
package zevo.stallscope;

interface IStallscope {
    /** Appends pid's binder report to file, then captures its peers and the named processes. */
    void dumpTraceWithBinderInfo(int pid, boolean withBinderInfo, in String[] names, String file);

    /** The chain of outgoing calls of pid; true when its main thread is blocked. */
    boolean getTransaction(int pid, inout @utf8InCpp List<String> lines,
            inout @utf8InCpp List<String> javaPids, inout @utf8InCpp List<String> nativePids,
            inout @utf8InCpp List<String> senderCmdlines,
            inout @utf8InCpp List<String> receiverCmdlines,
            inout @utf8InCpp List<String> elapsedTexts,
            inout @utf8InCpp List<String> senderPids,
            inout @utf8InCpp List<String> receiverPids);

    /** The one-way calls from anrFromPid that wait in pid's queue. */
    boolean getAsyncTransaction(int anrFromPid, int pid, inout @utf8InCpp List<String> lines,
            inout @utf8InCpp List<String> javaPids, inout @utf8InCpp List<String> nativePids);

    /** Who waits on pid. */
    void getThreadFullInfo(int pid, inout @utf8InCpp List<String> lines,
            inout @utf8InCpp List<String> javaPids, inout @utf8InCpp List<String> nativePids);

    /** Copies pid's transactions into the system log buffer under tag. */
    void printfProcBinderInfo(int pid, @utf8InCpp String tag);

    /** True when pid's main thread waits longer on a native process or the system server. */
    boolean checkTransaction(int pid, int thresholdSecs, inout @utf8InCpp List<String> lines,
            inout @utf8InCpp List<String> visitedPids);

    /** The chain of processes that pid calls into, also written to the system log under tag. */
    void getTransactProc(int pid, @utf8InCpp String tag,
            inout @utf8InCpp List<String> peerPids, inout @utf8InCpp List<String> peerCmdlines,
            inout @utf8InCpp List<String> lines);

    /** The number of entries in pid's fd directory, or -1. */
    int getFdSize(int pid);

    /** Lists pid's open descriptors in file, which is replaced. */
    void catchFdInfo(@utf8InCpp String file, int pid);

    /** Appends pid's stacks to file within timeoutSecs seconds. */
    boolean dumpTraceForPidWithTimeout(int pid, int timeoutSecs, @utf8InCpp String file);

    /** Writes subject and the stacks of pids to file, which is replaced; returns when done. */
    void dumpTraceForPidList(in int[] pids, @utf8InCpp String subject, @utf8InCpp String file);

    /** The same on a thread of its own; returns at once. */
    void dumpTraceForPidListAsync(in int[] pids, @utf8InCpp String subject,
            @utf8InCpp String file);
}
