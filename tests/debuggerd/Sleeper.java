/** A JVM to capture: one thread waits for a monitor that another holds. */
public class Sleeper {
    public static void main(String[] args) throws InterruptedException {
        final Object lock = new Object();
        synchronized (lock) {
            Thread blocked = new Thread(() -> { synchronized (lock) { } }, "blocked-by-main");
            blocked.start();
            while (blocked.getState() != Thread.State.BLOCKED) {
                Thread.sleep(1);
            }
            System.out.println("ready");
            Thread.sleep(Long.MAX_VALUE);
        }
    }
}
