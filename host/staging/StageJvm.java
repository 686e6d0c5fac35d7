import java.io.File;
import java.io.FileOutputStream;
import java.io.IOException;
import java.util.concurrent.locks.LockSupport;

/**
 * A JVM in a staged hang: StageJvm COMM ADJ SERVICE park|lock|call:SERVICE CODE THREADS
 * [call:SERVICE]. Does without lambdas and java.nio, which cost a second each where the processor is
 * emulated.
 */
final class StageJvm {
    /** So named for the dump, which prints the class of a lock. */
    private static final class Database {}

    private static final Database database = new Database();
    private static String onCall;
    private static int code;

    private static native int register(String service);
    private static native void joinThreadPool();
    private static native int transact(String service, int code);

    public static void main(String[] args) throws Exception {
        // The launcher's first thread is not Java's main thread, but this names it all the same.
        write("/proc/self/comm", args[0]);
        write("/proc/self/oom_score_adj", args[1]);
        onCall = args[3];
        code = Integer.parseInt(args[4], 16);
        System.loadLibrary("stage_jni");
        if (args.length > 6) {
            holdLockAndCall(args);
        } else {
            serve(args[2], Integer.parseInt(args[5]));
        }
    }

    /** Calls are served only once the lock is held. */
    private static void holdLockAndCall(String[] args) throws IOException {
        synchronized (database) {
            serve(args[2], Integer.parseInt(args[5]));
            callServiceAndWait(args[6].substring("call:".length()));
        }
    }

    private static void serve(String service, int threads) throws IOException {
        int status = register(service);
        if (status != 0) {
            System.err.println("servicemanager refuses " + service + " (status " + status + ")");
            System.exit(1);
        }
        String pid = new File("/proc/self").getCanonicalFile().getName();
        for (int i = 1; i <= threads; i++) {
            new Thread("Binder:" + pid + "_" + i) {
                @Override
                public void run() {
                    joinThreadPool();
                }
            }.start();
        }
    }

    private static void write(String path, String text) throws IOException {
        try (FileOutputStream file = new FileOutputStream(path)) {
            file.write(text.getBytes());
        }
    }

    /** Called by the native service on the pool thread that took the call. */
    private static void onTransact() {
        if (onCall.startsWith("call:")) {
            callServiceAndWait(onCall.substring("call:".length()));
        } else if (onCall.equals("lock")) {
            waitForLockHeldByMainThread();
        } else {
            waitForFrameThatNeverComes();
        }
    }

    private static void callServiceAndWait(String service) {
        transact(service, code);
    }

    private static void waitForLockHeldByMainThread() {
        synchronized (database) {
            System.err.println("the main thread has let go of the lock");
        }
    }

    private static void waitForFrameThatNeverComes() {
        while (true) {
            LockSupport.park(StageJvm.class);
        }
    }
}
