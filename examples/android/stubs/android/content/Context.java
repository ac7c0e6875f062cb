package android.content;

public abstract class Context {
  public abstract int checkSelfPermission(String permission);
}
