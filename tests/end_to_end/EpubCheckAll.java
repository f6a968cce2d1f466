import com.adobe.epubcheck.tool.EpubChecker;
import java.util.concurrent.Executors;

/** Checks the book of each directory, several at once, and writes a report beside it. */
public class EpubCheckAll {
  public static void main(String[] directories) {
    var workers = Executors.newFixedThreadPool(Runtime.getRuntime().availableProcessors());
    for (String directory : directories) {
      workers.execute(() -> new EpubChecker().run(new String[] {
          directory + "/book.epub", "--json", directory + "/report.json", "--quiet"}));
    }
    workers.shutdown();
  }
}
