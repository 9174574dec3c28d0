import { question } from "../store/question";
import { Button } from "../widgets/button";
import { Dialog } from "../widgets/dialog";

/** A question that something waits for. */
export function QuestionDialog() {
    const asked = question.value;
    if (!asked) return null;
    return (
        <Dialog key={asked.title} title={asked.title} onClose={() => asked.answer(false)} actions={<>
            <Button title="Leave everything as it is" isFocused={asked.isLoss === true}
                onPress={() => asked.answer(false)}>Cancel</Button>
            <Button kind="main" title={asked.yes} isFocused={asked.isLoss !== true}
                onPress={() => asked.answer(true)}>{asked.yes}</Button>
        </>}>
            {asked.text.map((paragraph) => <p key={paragraph}>{paragraph}</p>)}
        </Dialog>
    );
}
