package android.widget;

public class TextView extends android.view.View {
  public TextView(android.content.Context context) {}

  public final void setText(CharSequence text) {}
}
