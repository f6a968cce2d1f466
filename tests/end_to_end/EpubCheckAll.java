import com.adobe.epubcheck.tool.EpubChecker;

/** Checks the book of each directory and writes a report beside it. */
public class EpubCheckAll {
  public static void main(String[] directories) {
    for (String directory : directories) {
      new EpubChecker().run(new String[] {
          directory + "/book.epub", "--json", directory + "/report.json", "--quiet"});
    }
  }
}
