package android.content;

public abstract class Context {
  public abstract java.io.File getFilesDir();

  public abstract int checkSelfPermission(String permission);
}
