package android.content.pm;

public abstract class PackageManager {
  public static final int PERMISSION_GRANTED = 0;
}
